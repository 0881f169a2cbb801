#include "DatabaseRows.h"

#include <limits>
#include <utility>

#include "DatabaseErrors.h"
#include "HostText.h"
#include "Interrupt.h"
#include "tarn/Types.h"

namespace lumora::shell {

namespace {

std::string BytesOf(tarn::I_Value& inValue) {
  auto const binary = tarn::query_interface<tarn::I_ValueBinary>(&inValue, tarn::kIID_ValueBinary);
  if (!binary) return ToUtf8(inValue.get_String());
  std::string bytes(binary->get_DataSize(), '\0');
  bytes.resize(binary->get_Data(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
  return bytes;
}

Cell InnerCell(tarn::I_Value& inValue) {
  auto const wrapper =
      tarn::query_interface<tarn::I_ValueWrapper>(&inValue, tarn::kIID_ValueWrapper);
  return wrapper ? ToCell(wrapper->get_InnerValue().get()) : Cell();
}

CellKind KindOf(tarn::ValueType inType) {
  using tarn::ValueType;
  if (inType == ValueType::kBoolean) return CellKind::kBoolean;
  if (inType == ValueType::kJSON) return CellKind::kJson;
  if (inType >= ValueType::kByte && inType <= ValueType::kNumeric) return CellKind::kNumber;
  if (inType == ValueType::kEnum8 || inType == ValueType::kEnum16) return CellKind::kNumber;
  if (inType >= ValueType::kFixedBinary && inType <= ValueType::kBlob) return CellKind::kBytes;
  return CellKind::kText;
}

}  // namespace

Cell ToCell(tarn::I_Value* inValue) {
  if (!inValue || inValue->get_IsNull() || inValue->get_Type() == tarn::ValueType::kNull ||
      inValue->get_Type() == tarn::ValueType::kEmpty) {
    return {};
  }
  if (inValue->get_Type() == tarn::ValueType::kWrapped) return InnerCell(*inValue);
  CellKind const kind = KindOf(inValue->get_Type());
  if (kind == CellKind::kBytes) return {kind, BytesOf(*inValue)};
  return {kind, ToUtf8(inValue->get_String())};
}

bool IsNumberType(std::uint32_t inType) {
  // duckdb_type: the integers and floats, HUGEINT, DECIMAL, UHUGEINT and BIGNUM.
  return (inType >= 2 && inType <= 11) || inType == 16 || inType == 19 || inType == 32 ||
         inType == 35;
}

DatabaseRows::DatabaseRows(tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> inCursor, bool inIsClient)
    : mCursor(std::move(inCursor)), mIsClient(inIsClient) {
  WithDatabaseErrors([&] {
    for (std::uint32_t c = 0; c < mCursor->get_ColumnCount(); ++c) {
      mColumns.push_back({ToUtf8(mCursor->get_ColumnName(c)),
                          ToUtf8(mCursor->get_ColumnTypeName(c)),
                          IsNumberType(mCursor->get_ColumnType(c))});
    }
  });
}

DatabaseRows::~DatabaseRows() {
  try {
    mCursor->Close();
  } catch (...) {
    // The rows are shown or their error is; nothing more is wanted of the cursor.
  }
}

bool DatabaseRows::Next() {
  CheckInterrupt();
  return WithDatabaseErrors([&] { return mCursor->NextRecord(); });
}

void DatabaseRows::Read(std::vector<Cell>& ioCells) {
  WithDatabaseErrors([&] {
    ioCells.resize(mColumns.size());
    for (std::size_t c = 0; c < ioCells.size(); ++c) {
      ioCells[c] = ToCell(mCursor->get_Value(static_cast<std::uint32_t>(c)).get());
    }
  });
}

std::optional<std::uint64_t> DatabaseRows::get_Count() {
  if (!mIsClient) return std::nullopt;
  return WithDatabaseErrors([&] { return std::uint64_t{mCursor->get_RecordCount()}; });
}

bool DatabaseRows::Seek(std::uint64_t inRow) {
  if (!mIsClient || inRow >= std::numeric_limits<std::uint32_t>::max()) return false;
  return WithDatabaseErrors(
      [&] { return mCursor->put_CurrentRecord(static_cast<std::uint32_t>(inRow) + 1); });
}

}  // namespace lumora::shell
