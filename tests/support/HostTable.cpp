#include "support/HostTable.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace lumora::test {
namespace {

constexpr int kEntries = 64;

[[noreturn]] void Stop(char const* inWhat, int inIndex) {
  std::fprintf(stderr, "host table: entry %d: %s\n", inIndex, inWhat);
  std::abort();
}

template <int TIndex>
void Trap() {
  Stop("is not the extension's to call", TIndex);
}

template <int TIndex>
HostContext& Context(void* ctx) {
  auto* const context = static_cast<HostContext*>(ctx);
  if (!context || context->mMagic != HostContext().mMagic) Stop("got a foreign context", TIndex);
  return *context;
}

template <int TIndex>
HostValue& Value(void* value) {
  if (!value) Stop("got a null value", TIndex);
  return *static_cast<HostValue*>(value);
}

HostValue* Make(HostContext& ioContext, Kind inKind) {
  if (ioContext.mBeforeValue) ioContext.mBeforeValue();
  auto value = std::make_unique<HostValue>();
  value->mKind = inKind;
  ioContext.mValues.push_back(std::move(value));
  return ioContext.mValues.back().get();
}

template <int TIndex, Kind TKind, typename T>
void* MakeBits(void* ctx, T bits) {
  auto* const value = Make(Context<TIndex>(ctx), TKind);
  value->mBits = bits;
  return value;
}

template <int TIndex, Kind TKind, typename T>
void* MakeBytes(void* ctx, T const* bytes, std::uint64_t length, std::uint64_t zero) {
  if (zero != 0) Stop("its last argument is not 0", TIndex);
  if (!bytes && length > 0) Stop("got no bytes", TIndex);
  auto* const value = Make(Context<TIndex>(ctx), TKind);
  value->mText.assign(static_cast<char const*>(static_cast<void const*>(bytes)), length);
  value->mHasText = true;
  return value;
}

void* MakeDouble(void* ctx, double number) {
  auto* const value = Make(Context<24>(ctx), kDouble);
  value->mDouble = number;
  return value;
}

void* MakeInt64(void* ctx, std::int64_t number) {
  auto* const value = Make(Context<25>(ctx), kInt64);
  value->mInt = number;
  return value;
}

std::int32_t RegisterProcedure(void* ctx, ProcedureDef const* def) {
  auto& context = Context<2>(ctx);
  if (def->mReserved1 || def->mReserved2) Stop("a reserved field is not null", 2);
  if (context.mBeforeRegister) context.mBeforeRegister();
  context.mOffered.emplace_back(def->mName);
  if (context.mRefusedProcedures.count(def->mName) > 0) return 1;
  context.mProcedures.push_back(*def);
  return 0;
}

std::int32_t ArgCount(void* ctx) {
  auto& context = Context<6>(ctx);
  if (context.mBeforeArgCount) context.mBeforeArgCount();
  return static_cast<std::int32_t>(context.mArgs.size());
}

void ReportError(void* ctx, char const* text, std::uint64_t length) {
  Context<10>(ctx).mErrors.emplace_back(text, length);
}

std::int32_t CreateRowCursor(void* ctx, std::uint64_t columns, std::uint64_t rows,
                             char const* const* names, void* const* const* cells, void** out) {
  auto& context = Context<15>(ctx);
  if (context.mCursorAnswer != 0) return context.mCursorAnswer;
  std::vector<std::vector<HostValue>> taken(rows);
  for (std::uint64_t row = 0; row < rows; ++row) {
    for (std::uint64_t i = 0; i < columns; ++i) taken[row].push_back(Value<15>(cells[row][i]));
  }
  context.mValues.clear();
  context.mCursor = std::make_unique<HostCursor>(std::vector<std::string>(names, names + columns),
                                                 std::move(taken));
  *out = context.mCursor.get();
  return 0;
}

std::int32_t CreateCallbackCursor(void* ctx, CursorDef const* def, void** out) {
  auto& context = Context<17>(ctx);
  if (def->mReserved != 0) Stop("the reserved field is not 0", 17);
  if (context.mCursorAnswer != 0) return context.mCursorAnswer;
  context.mCursor = std::make_unique<HostCursor>(*def);
  *out = context.mCursor.get();
  return 0;
}

std::uint8_t IsNull(void* value) { return Value<33>(value).mKind == kNull; }
std::int32_t GetKind(void* value) { return Value<34>(value).mKind; }

std::int64_t ArrayCount(void* value) {
  if (Value<35>(value).mKind != kArray) Stop("the value is no array", 35);
  return static_cast<std::int64_t>(Value<35>(value).mItems.size());
}

void* ArrayItem(void* value, std::int64_t index) {
  if (index < 0 || index >= ArrayCount(value)) Stop("no such item", 36);
  return Value<36>(value).mItems[static_cast<std::size_t>(index)].get();
}

std::int64_t GetInt64(void* value) {
  if (Value<42>(value).mKind != kInt64) Stop("the value is no int64", 42);
  return Value<42>(value).mInt;
}

std::uint64_t GetUint64(void* value) {
  if (Value<44>(value).mKind != kUint64) Stop("the value is no uint64", 44);
  return Value<44>(value).mBits;
}

char const* GetText(void* ctx, void* value, std::uint64_t* length) {
  auto& context = Context<45>(ctx);
  if (context.mBeforeText) context.mBeforeText();
  auto const& text = Value<45>(value);
  if (!text.mHasText) return nullptr;
  *length = text.mText.size();
  return text.mText.data();
}

using Entry = void (*)();

template <typename T>
Entry AsEntry(T inFunction) {
  return reinterpret_cast<Entry>(inFunction);
}

template <int... TIndexes>
void FillWithTraps(Entry* outTable, std::integer_sequence<int, TIndexes...> /*inIndexes*/) {
  ((outTable[TIndexes] = Trap<TIndexes>), ...);
}

Entry const* MakeTable() {
  static Entry table[kEntries];
  FillWithTraps(table, std::make_integer_sequence<int, kEntries>());
  table[2] = AsEntry(RegisterProcedure);
  table[6] = AsEntry(ArgCount);
  table[10] = AsEntry(ReportError);
  table[15] = AsEntry(CreateRowCursor);
  table[17] = AsEntry(CreateCallbackCursor);
  table[20] = AsEntry(MakeBytes<20, kBinary, void>);
  table[21] = AsEntry(MakeBits<21, kBool, std::uint8_t>);
  table[22] = AsEntry(MakeBits<22, kDate, std::uint32_t>);
  table[23] = AsEntry(MakeBits<23, kDateTime, std::uint64_t>);
  table[24] = AsEntry(MakeDouble);
  table[25] = AsEntry(MakeInt64);
  table[28] = AsEntry(MakeBytes<28, kText, char>);
  table[30] = AsEntry(MakeBits<30, kTime, std::uint32_t>);
  table[31] = AsEntry(MakeBits<31, kUint64, std::uint64_t>);
  table[33] = AsEntry(IsNull);
  table[34] = AsEntry(GetKind);
  table[35] = AsEntry(ArrayCount);
  table[36] = AsEntry(ArrayItem);
  table[42] = AsEntry(GetInt64);
  table[44] = AsEntry(GetUint64);
  table[45] = AsEntry(GetText);
  return table;
}

ValuePtr MakeArg(Kind inKind) {
  auto value = std::make_shared<HostValue>();
  value->mKind = inKind;
  return value;
}

}  // namespace

ValuePtr Null() { return MakeArg(kNull); }

ValuePtr Int(std::int64_t inValue) {
  auto value = Other(kInt64, std::to_string(inValue));
  value->mInt = inValue;
  return value;
}

ValuePtr Uint(std::uint64_t inValue) {
  auto value = Other(kUint64, std::to_string(inValue));
  value->mBits = inValue;
  return value;
}

ValuePtr Text(std::string inText) { return Other(kText, std::move(inText)); }

ValuePtr Other(Kind inKind, std::string inText) {
  auto value = MakeArg(inKind);
  value->mHasText = true;
  value->mText = std::move(inText);
  return value;
}

ValuePtr WithoutText(Kind inKind) { return MakeArg(inKind); }

ValuePtr Array(std::vector<ValuePtr> inItems) {
  auto value = Other(kArray, "[array]");
  value->mItems = std::move(inItems);
  return value;
}

HostCursor::HostCursor(CursorDef const& inDefinition)
    : mDefinition(inDefinition),
      mNames(inDefinition.mColumnNames, inDefinition.mColumnNames + inDefinition.mColumnCount),
      mKinds(inDefinition.mColumnKinds, inDefinition.mColumnKinds + inDefinition.mColumnCount) {}

HostCursor::HostCursor(std::vector<std::string> inNames, std::vector<std::vector<HostValue>> inRows)
    : mNames(std::move(inNames)), mRows(std::move(inRows)) {}

HostCursor::~HostCursor() {
  if (mDefinition.mDestroy) mDefinition.mDestroy(&mContext, mDefinition.mState);
}

std::int64_t HostCursor::get_RowCount() {
  if (get_IsRowCursor()) return static_cast<std::int64_t>(mRows.size());
  return mDefinition.mRowCount(&mContext, mDefinition.mState);
}

bool HostCursor::Next() {
  if (get_IsRowCursor()) return Seek(mRow + 1);
  std::int32_t const answer = mDefinition.mNext(&mContext, mDefinition.mState);
  if (answer != 0 && answer != -1) Stop("next answered neither 0 nor -1", 17);
  return answer == 0;
}

bool HostCursor::Seek(std::int64_t inRow) {
  if (get_IsRowCursor()) {
    if (inRow < 0 || inRow >= get_RowCount()) return false;
    mRow = inRow;
    return true;
  }
  std::int32_t const answer = mDefinition.mSeek(&mContext, mDefinition.mState, inRow);
  if (answer != 0 && answer != -1) Stop("seek answered neither 0 nor -1", 17);
  return answer == 0;
}

std::optional<HostValue> HostCursor::Get(std::int32_t inColumn) {
  if (get_IsRowCursor()) {
    return mRows[static_cast<std::size_t>(mRow)][static_cast<std::size_t>(inColumn)];
  }
  void* const value = mDefinition.mGetValue(&mContext, mDefinition.mState, inColumn);
  if (!value) return std::nullopt;
  HostValue copy = std::move(Value<17>(value));
  mContext.mValues.clear();
  return copy;
}

std::vector<std::vector<std::optional<HostValue>>> HostCursor::ReadAll() {
  std::vector<std::vector<std::optional<HostValue>>> rows;
  auto const columns = static_cast<std::int32_t>(mNames.size());
  while (Next()) {
    auto& row = rows.emplace_back();
    for (std::int32_t i = 0; i < columns; ++i) row.push_back(Get(i));
  }
  return rows;
}

void (*const* HostTable())() {
  static Entry const* const table = MakeTable();
  return table;
}

CallOutcome CallProcedure(ProcedureDef const& inProcedure, std::vector<ValuePtr> const& inArgs) {
  HostContext context;
  return CallProcedure(context, inProcedure, inArgs);
}

CallOutcome CallProcedure(HostContext& ioContext, ProcedureDef const& inProcedure,
                          std::vector<ValuePtr> const& inArgs) {
  ioContext.mArgs.clear();
  for (auto const& arg : inArgs) ioContext.mArgs.push_back(arg.get());
  void* const cursor = inProcedure.mHandler(&ioContext, ioContext.mArgs.data());
  if (cursor && cursor != ioContext.mCursor.get()) Stop("the handler answered another cursor", 17);
  CallOutcome outcome{nullptr, std::exchange(ioContext.mErrors, {})};
  if (cursor) outcome.mCursor = std::move(ioContext.mCursor);
  ioContext.mCursor.reset();
  ioContext.mValues.clear();
  return outcome;
}

}  // namespace lumora::test
