#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/HostValueText.h"
#include "tarn/Value.h"

namespace lumora::test {

// A host value that says of itself whatever a test wants, also what no host value would: any type
// code, any view, any content. Getters answer the members; setters do nothing.
class TestValue final : public tarn::I_Value {
 public:
  explicit TestValue(std::uint32_t inCode) : mCode(inCode) {}

  std::uint32_t mCode;
  bool mIsNull = false;
  std::int64_t mNumber = 0;     // what the whole-number getters cut their size from
  std::uint64_t mUnsigned = 0;  // what get_ULLong answers
  double mReal = 0;
  tarn::String mText;
  std::function<void()> mOnRead;  // called by get_Type

  bool mHasBytes = false;
  std::vector<std::uint8_t> mBytes;
  std::uint32_t mBytesCopied = UINT32_MAX;  // at most so many are given
  bool mHasDate = false;
  bool mHasDateTime = false;
  tarn::DateTimeParts mParts;
  bool mHasWrapped = false;
  tarn::smart_ptr<tarn::I_Value> mInner;
  bool mHasObject = false;
  std::vector<std::pair<std::string, std::string>> mMembers;

  std::uint32_t AddRef() override { return mRefs.Increment(); }
  std::uint32_t Release() override;
  void* QueryInterface(std::uint32_t inInterfaceId) override;
  std::uint32_t get_RefsCount() const override { return mRefs.get(); }

  tarn::ValueType get_Type() const override;
  bool get_IsNull() const override { return mIsNull; }
  void put_IsNull(bool inIsNull) override { mIsNull = inIsNull; }
  bool get_IsNullable() const override { return true; }
  bool get_Boolean() const override { return mNumber != 0; }
  std::uint8_t get_Byte() const override { return static_cast<std::uint8_t>(mNumber); }
  std::int16_t get_Short() const override { return static_cast<std::int16_t>(mNumber); }
  std::uint16_t get_UShort() const override { return static_cast<std::uint16_t>(mNumber); }
  std::int32_t get_Long() const override { return static_cast<std::int32_t>(mNumber); }
  std::uint32_t get_ULong() const override { return static_cast<std::uint32_t>(mNumber); }
  std::int64_t get_LLong() const override { return mNumber; }
  std::uint64_t get_ULLong() const override { return mUnsigned; }
  float get_Float() const override { return static_cast<float>(mReal); }
  double get_Double() const override { return mReal; }
  tarn::String get_String() const override { return mText; }
  void put_Boolean(bool) override {}
  void put_Byte(std::uint8_t) override {}
  void put_Short(std::int16_t) override {}
  void put_UShort(std::uint16_t) override {}
  void put_Long(std::int32_t) override {}
  void put_ULong(std::uint32_t) override {}
  void put_LLong(std::int64_t) override {}
  void put_ULLong(std::uint64_t) override {}
  void put_Float(float) override {}
  void put_Double(double) override {}
  void put_String(tarn::String const&) override {}
  void put_String(tarn::String&&) override {}
  std::uint32_t get_MaxLength() const override { return 0; }
  void put_MaxLength(std::uint32_t) override {}
  std::uint32_t get_Length() const override { return 0; }
  void put_Length(std::uint32_t) override {}

 private:
  ~TestValue() override = default;
  tarn::RefsCount mRefs;
};

// Host values made by the host's factories.
tarn::smart_ptr<tarn::I_Value> MakeLong(std::int32_t inNumber);
tarn::smart_ptr<tarn::I_Value> MakeLLong(std::int64_t inNumber);
tarn::smart_ptr<tarn::I_Value> MakeDouble(double inNumber);
tarn::smart_ptr<tarn::I_Value> MakeText(std::string const& inText);
tarn::smart_ptr<tarn::I_Value> MakeJSON(std::string const& inText);
tarn::smart_ptr<tarn::I_Value> MakeDate(std::int32_t inYear, std::int16_t inMonth,
                                        std::int16_t inDay);
tarn::smart_ptr<tarn::I_Value> MakeBoolean(bool inValue);
tarn::smart_ptr<tarn::I_Value> MakeNullValue();  // a value that is null

// The variant envelope of a type name and a value text, written plainly.
std::string MakeEnvelope(std::string const& inTypeName, std::string const& inText);

tarn::smart_ptr<tarn::ValueRow> MakeRow(std::vector<tarn::smart_ptr<tarn::I_Value>> inValues);
tarn::smart_ptr<tarn::ValueRows> MakeRows(std::vector<tarn::smart_ptr<tarn::ValueRow>> inRows);

}  // namespace lumora::test
