#pragma once

#include <functional>

#include "tarn/lsql/I_DuckDBCursor.h"
#include "tarn/lsql/I_DuckDBQueryResult.h"

// Children of a database that only tell when it closes them. They live where the test puts them.
namespace lumora::test {

class TestResult final : public tarn::lsql::I_DuckDBQueryResult {
 public:
  explicit TestResult(std::function<void()> inOnClose) : mOnClose(std::move(inOnClose)) {}
  std::uint32_t AddRef() override { return mRefs.Increment(); }
  std::uint32_t Release() override { return mRefs.Decrement(); }
  void* QueryInterface(std::uint32_t) override { return nullptr; }
  std::uint32_t get_RefsCount() const override { return mRefs.get(); }
  std::uint64_t get_RowsChanged() const override { return 0; }
  tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> get_Cursor() const override { return nullptr; }
  std::uint32_t get_Flags() const override { return 0; }
  std::int64_t get_ErrorPosition() const override { return -1; }
  tarn::String get_ErrorMessage() const override { return {}; }
  tarn::String get_ErrorType() const override { return {}; }
  tarn::smart_ptr<I_DuckDBQueryResult> NextResult() override { return nullptr; }
  void Close() override { mOnClose(); }

 private:
  tarn::RefsCount mRefs;
  std::function<void()> mOnClose;
};

class TestCursor final : public tarn::lsql::I_DuckDBCursor {
 public:
  explicit TestCursor(std::function<void()> inOnInvalidate)
      : mOnInvalidate(std::move(inOnInvalidate)) {}
  std::uint32_t AddRef() override { return mRefs.Increment(); }
  std::uint32_t Release() override { return mRefs.Decrement(); }
  void* QueryInterface(std::uint32_t) override { return nullptr; }
  std::uint32_t get_RefsCount() const override { return mRefs.get(); }
  std::uint32_t get_ColumnCount() const override { return 0; }
  tarn::String const& get_ColumnName(std::uint32_t) const override { return tarn::String::sEmpty; }
  tarn::String const& get_ColumnTypeName(std::uint32_t) const override {
    return tarn::String::sEmpty;
  }
  std::uint32_t get_ColumnType(std::uint32_t) const override { return 0; }
  std::uint32_t get_RecordCount() override { return 0; }
  std::uint32_t get_CurrentRecord() override { return 0; }
  bool put_CurrentRecord(std::uint32_t) override { return false; }
  tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase> get_Database() override { return nullptr; }
  void Invalidate() override { mOnInvalidate(); }
  bool FirstRecord() override { return false; }
  bool LastRecord() override { return false; }
  bool NextRecord() override { return false; }
  bool PrevRecord() override { return false; }
  tarn::smart_ptr<tarn::I_Value> get_Value(std::uint32_t) override { return nullptr; }
  void Close() override {}

 private:
  tarn::RefsCount mRefs;
  std::function<void()> mOnInvalidate;
};

}  // namespace lumora::test
