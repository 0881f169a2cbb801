#pragma once

#include "HostContext.h"
#include "RowSource.h"
#include "tarn/ExtensionApi.h"

namespace lumora::shell {

// A procedure's rows that are all there.
class HostRowCursor final : public RowSource {
 public:
  // Copies names and values; rows and names as lumora_create_row_cursor gets them.
  HostRowCursor(std::uint64_t inColumnCount, std::uint64_t inRowCount,
                char const* const* inColumnNames, lumora_value* const* inRows);

  std::vector<Column> const& get_Columns() const override { return mColumns; }
  bool Next() override;
  void Read(std::vector<Cell>& ioCells) override;
  std::optional<std::uint64_t> get_Count() override { return mRows.size(); }
  bool Seek(std::uint64_t inRow) override;

 private:
  std::vector<Column> mColumns;
  std::vector<std::vector<Cell>> mRows;
  std::uint64_t mNextRow = 0;  // the current row is the one before it
};

// A procedure's rows, pulled through the extension's callbacks.
class HostCallbackCursor final : public RowSource {
 public:
  // Copies the record. The cursor owns its state from here on and destroys it.
  explicit HostCallbackCursor(lumora_cursor_def const& inDefinition);
  ~HostCallbackCursor() override;
  HostCallbackCursor(HostCallbackCursor const&) = delete;
  HostCallbackCursor& operator=(HostCallbackCursor const&) = delete;

  // Null, or what is wrong with a record that cannot be used.
  static char const* FindFault(lumora_cursor_def const* inDefinition);

  std::vector<Column> const& get_Columns() const override { return mColumns; }
  bool Next() override;
  void Read(std::vector<Cell>& ioCells) override;
  std::optional<std::uint64_t> get_Count() override;
  bool Seek(std::uint64_t inRow) override;

 private:
  void CheckError();

  lumora_cursor_def mDefinition;
  std::vector<Column> mColumns;
  HostContext mContext;
};

}  // namespace lumora::shell
