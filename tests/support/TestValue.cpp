#include "support/TestValue.h"

#include <algorithm>
#include <cstring>

#include <nlohmann/json.hpp>

namespace lumora::test {
namespace {

// One view of a TestValue: an object of its own that keeps the value alive.
template <typename TView>
class View : public TView {
 public:
  explicit View(TestValue* inValue) : mValue(inValue) {}
  std::uint32_t AddRef() override { return mRefs.Increment(); }
  std::uint32_t Release() override {
    std::uint32_t const count = mRefs.Decrement();
    if (count == 0) delete this;
    return count;
  }
  void* QueryInterface(std::uint32_t) override { return nullptr; }
  std::uint32_t get_RefsCount() const override { return mRefs.get(); }

 protected:
  tarn::smart_ptr<TestValue> mValue;

 private:
  tarn::RefsCount mRefs;
};

class BytesView final : public View<tarn::I_ValueBinary> {
 public:
  using View::View;
  std::uint32_t get_DataSize() const override {
    return static_cast<std::uint32_t>(mValue->mBytes.size());
  }
  std::uint32_t get_Data(void* outBytes, std::uint32_t inSize) const override {
    std::uint32_t const size = std::min({inSize, get_DataSize(), mValue->mBytesCopied});
    if (size != 0) std::memcpy(outBytes, mValue->mBytes.data(), size);
    return size;
  }
  void put_Data(void const*, std::uint32_t) override {}
};

class DateView final : public View<tarn::I_ValueDate> {
 public:
  using View::View;
  void get_Date(std::int32_t& outYear, std::int16_t& outMonth,
                std::int16_t& outDay) const override {
    outYear = mValue->mParts.mYear;
    outMonth = mValue->mParts.mMonth;
    outDay = mValue->mParts.mDay;
  }
  void put_Date(std::int32_t, std::int16_t, std::int16_t) override {}
};

class DateTimeView final : public View<tarn::I_ValueDateTime> {
 public:
  using View::View;
  tarn::DateTimeParts get_DateTime() const override { return mValue->mParts; }
  void put_DateTime(std::int32_t, std::int16_t, std::int16_t, std::int16_t, std::int16_t,
                    std::int16_t, std::int16_t) override {}
};

class WrapperView final : public View<tarn::I_ValueWrapper> {
 public:
  using View::View;
  tarn::smart_ptr<tarn::I_Value> get_InnerValue() const override { return mValue->mInner; }
  void put_InnerValue(tarn::smart_ptr<tarn::I_Value>) override {}
};

class ObjectView final : public View<tarn::I_ValueJSON> {
 public:
  using View::View;
  bool HasMember(tarn::String const& inName) const override {
    return Find(inName) != mValue->mMembers.end();
  }
  tarn::String get_Member(tarn::String const& inName) const override {
    auto const found = Find(inName);
    if (found == mValue->mMembers.end()) return {};
    return tarn::String(found->second.data(), static_cast<std::int32_t>(found->second.size()));
  }

 private:
  std::vector<std::pair<std::string, std::string>>::const_iterator Find(
      tarn::String const& inName) const {
    std::string const name = ToUTF8(inName);
    auto const& members = mValue->mMembers;
    return std::find_if(members.begin(), members.end(),
                        [&](auto const& inMember) { return inMember.first == name; });
  }
};

template <typename TView>
void* NewView(TestValue* inValue) {
  auto* const view = new TView(inValue);
  view->AddRef();
  return view;
}

template <typename TSet>
tarn::smart_ptr<tarn::I_Value> Make(tarn::I_Value* inValue, TSet inSet) {
  tarn::smart_ptr<tarn::I_Value> const value(inValue);
  inSet(*value);
  return value;
}

}  // namespace

std::uint32_t TestValue::Release() {
  std::uint32_t const count = mRefs.Decrement();
  if (count == 0) delete this;
  return count;
}

void* TestValue::QueryInterface(std::uint32_t inInterfaceId) {
  if (inInterfaceId == tarn::kIID_ValueBinary && mHasBytes) return NewView<BytesView>(this);
  if (inInterfaceId == tarn::kIID_ValueDate && mHasDate) return NewView<DateView>(this);
  if (inInterfaceId == tarn::kIID_ValueDateTime && mHasDateTime) {
    return NewView<DateTimeView>(this);
  }
  if (inInterfaceId == tarn::kIID_ValueWrapper && mHasWrapped) return NewView<WrapperView>(this);
  if (inInterfaceId == tarn::kIID_ValueJSON && mHasObject) return NewView<ObjectView>(this);
  return nullptr;
}

tarn::ValueType TestValue::get_Type() const {
  if (mOnRead) mOnRead();
  return static_cast<tarn::ValueType>(mCode);
}

tarn::smart_ptr<tarn::I_Value> MakeLong(std::int32_t inNumber) {
  return Make(tarn::CreateValueLong(true, nullptr, nullptr),
              [&](tarn::I_Value& outValue) { outValue.put_Long(inNumber); });
}
tarn::smart_ptr<tarn::I_Value> MakeLLong(std::int64_t inNumber) {
  return Make(tarn::CreateValueLLong(true, nullptr, nullptr),
              [&](tarn::I_Value& outValue) { outValue.put_LLong(inNumber); });
}
tarn::smart_ptr<tarn::I_Value> MakeDouble(double inNumber) {
  return Make(tarn::CreateValueDouble(true, nullptr, nullptr),
              [&](tarn::I_Value& outValue) { outValue.put_Double(inNumber); });
}
tarn::smart_ptr<tarn::I_Value> MakeText(std::string const& inText) {
  return Make(tarn::CreateValueString(true, nullptr, nullptr), [&](tarn::I_Value& outValue) {
    outValue.put_String(tarn::String(inText.data(), static_cast<std::int32_t>(inText.size())));
  });
}
tarn::smart_ptr<tarn::I_Value> MakeJSON(std::string const& inText) {
  return Make(tarn::CreateValueJSON(true, nullptr, nullptr), [&](tarn::I_Value& outValue) {
    outValue.put_String(tarn::String(inText.data(), static_cast<std::int32_t>(inText.size())));
  });
}
tarn::smart_ptr<tarn::I_Value> MakeDate(std::int32_t inYear, std::int16_t inMonth,
                                        std::int16_t inDay) {
  return Make(tarn::CreateValueDate(true, nullptr, nullptr), [&](tarn::I_Value& outValue) {
    auto const view = tarn::query_interface<tarn::I_ValueDate>(&outValue, tarn::kIID_ValueDate);
    view->put_Date(inYear, inMonth, inDay);
  });
}
tarn::smart_ptr<tarn::I_Value> MakeBoolean(bool inValue) {
  return Make(tarn::CreateValueBoolean(true, nullptr, nullptr),
              [&](tarn::I_Value& outValue) { outValue.put_Boolean(inValue); });
}
tarn::smart_ptr<tarn::I_Value> MakeNullValue() {
  return Make(tarn::CreateValueLong(true, nullptr, nullptr),
              [&](tarn::I_Value& outValue) { outValue.put_IsNull(true); });
}

std::string MakeEnvelope(std::string const& inTypeName, std::string const& inText) {
  return nlohmann::ordered_json{
      {"duckdb_variant", true}, {"variant_type", inTypeName}, {"value", inText}}
      .dump();
}

tarn::smart_ptr<tarn::ValueRow> MakeRow(std::vector<tarn::smart_ptr<tarn::I_Value>> inValues) {
  tarn::smart_ptr<tarn::ValueRow> row(new tarn::ValueRow);
  for (auto& value : inValues) row->Append(std::move(value));
  return row;
}
tarn::smart_ptr<tarn::ValueRows> MakeRows(std::vector<tarn::smart_ptr<tarn::ValueRow>> inRows) {
  tarn::smart_ptr<tarn::ValueRows> rows(new tarn::ValueRows);
  for (auto& row : inRows) rows->Append(std::move(row));
  return rows;
}

}  // namespace lumora::test
