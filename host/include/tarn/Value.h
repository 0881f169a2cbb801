#pragma once

#include "tarn/Array.h"
#include "tarn/I_Unknown.h"
#include "tarn/String.h"
#include "tarn/smart_ptr.h"

namespace tarn {

// The host value type codes.
enum class ValueType : std::uint32_t {
  kEmpty = 0,
  kNull = 1,
  kBoolean = 2,
  kByte = 3,      // unsigned 8-bit
  kShort = 4,     // signed 16-bit
  kUShort = 5,    // unsigned 16-bit
  kMedium = 6,    // signed 32-bit
  kUMedium = 7,   // unsigned 32-bit
  kLong = 8,      // signed 32-bit
  kULong = 9,     // unsigned 32-bit
  kLLong = 10,    // signed 64-bit
  kULLong = 11,   // unsigned 64-bit
  kFloat = 12,    // 32-bit float
  kDouble = 13,   // 64-bit float
  kMoney = 14,    // 64-bit float
  kNumeric = 15,  // 64-bit float
  kDate = 16,
  kTime = 17,
  kDateTime = 18,
  kString = 19,
  kVarChar = 20,
  kText = 21,
  kFixedBinary = 22,
  kVarBinary = 23,
  kBlob = 24,
  kJSON = 25,
  kEnum8 = 33,    // unsigned 8-bit
  kEnum16 = 34,   // unsigned 16-bit
  kWrapped = 38,  // holds another value (I_ValueWrapper)
};

// One typed value of the host.
//
// A value has a fixed type and is null or not. A getter of another kind than the value's own
// converts: between numbers by clamping to the target's range (NaN becomes 0 in an integer, finite
// numbers stay finite), from text by its leading number ("12.5 km" is 12.5, "true" is true), from
// anything else 0; a null value gives 0, false or the empty text. A setter of another kind converts
// the same way into the value's own kind: a text sets dates and bytes when it has get_String's form
// (else all parts 0, no bytes), a number sets them to parts of 0 and no bytes. Every setter makes
// the value not null. A value that becomes null loses its content. Values are not synchronised;
// only their reference count is.
class LSHARED_API I_Value : public I_Unknown {
 public:
  virtual ValueType get_Type() const = 0;
  virtual bool get_IsNull() const = 0;
  // Null is refused (ignored) by a value that was made not nullable.
  virtual void put_IsNull(bool inIsNull) = 0;
  virtual bool get_IsNullable() const = 0;

  virtual bool get_Boolean() const = 0;
  virtual std::uint8_t get_Byte() const = 0;
  virtual std::int16_t get_Short() const = 0;
  virtual std::uint16_t get_UShort() const = 0;
  virtual std::int32_t get_Long() const = 0;
  virtual std::uint32_t get_ULong() const = 0;
  virtual std::int64_t get_LLong() const = 0;
  virtual std::uint64_t get_ULLong() const = 0;
  virtual float get_Float() const = 0;
  virtual double get_Double() const = 0;
  // The value as text: numbers in the shortest form that reads back equal ("NaN", "Infinity" and
  // "-Infinity" where there is no number), "true" and "false",
  // dates as YYYY-MM-DD, date-times as YYYY-MM-DD HH:MM:SS.mmm, bytes as lower-case hexadecimal
  // digits.
  virtual String get_String() const = 0;

  virtual void put_Boolean(bool inValue) = 0;
  virtual void put_Byte(std::uint8_t inValue) = 0;
  virtual void put_Short(std::int16_t inValue) = 0;
  virtual void put_UShort(std::uint16_t inValue) = 0;
  virtual void put_Long(std::int32_t inValue) = 0;
  virtual void put_ULong(std::uint32_t inValue) = 0;
  virtual void put_LLong(std::int64_t inValue) = 0;
  virtual void put_ULLong(std::uint64_t inValue) = 0;
  virtual void put_Float(float inValue) = 0;
  virtual void put_Double(double inValue) = 0;
  virtual void put_String(String const& inValue) = 0;
  virtual void put_String(String&& ioValue) = 0;  // takes the text over, without a copy

  // The declared greatest size in bytes, 0 when none was declared. It is a description: a longer
  // text or longer bytes are kept whole.
  virtual std::uint32_t get_MaxLength() const = 0;
  virtual void put_MaxLength(std::uint32_t inBytes) = 0;
  // The size of the value's content in bytes, 0 when it is null. Setting it resizes bytes (new ones
  // are zero) and is ignored by the other kinds.
  virtual std::uint32_t get_Length() const = 0;
  virtual void put_Length(std::uint32_t inBytes) = 0;
};

// Bytes; offered by the binary kinds. Interface number 2202.
class LSHARED_API I_ValueBinary : public I_Unknown {
 public:
  virtual std::uint32_t get_DataSize() const = 0;
  // Copies at most inSize bytes to outBytes and returns how many were copied.
  virtual std::uint32_t get_Data(void* outBytes, std::uint32_t inSize) const = 0;
  // Replaces the content and its length; makes the value not null.
  virtual void put_Data(void const* inBytes, std::uint32_t inSize) = 0;
};

// Year, month, day; offered by kDate and kDateTime. Interface number 2203. Parts are stored as
// given; years before 1 count 0 = 1 BC, -1 = 2 BC.
class LSHARED_API I_ValueDate : public I_Unknown {
 public:
  virtual void get_Date(std::int32_t& outYear, std::int16_t& outMonth,
                        std::int16_t& outDay) const = 0;
  virtual void put_Date(std::int32_t inYear, std::int16_t inMonth, std::int16_t inDay) = 0;
};

struct DateTimeParts {
  std::int32_t mYear = 0;
  std::int16_t mMonth = 0;
  std::int16_t mDay = 0;
  std::int16_t mHour = 0;
  std::int16_t mMinute = 0;
  std::int16_t mSecond = 0;
  std::int16_t mMillisecond = 0;
};

// Offered by kDateTime. Interface number 2204.
class LSHARED_API I_ValueDateTime : public I_Unknown {
 public:
  virtual DateTimeParts get_DateTime() const = 0;
  virtual void put_DateTime(std::int32_t inYear, std::int16_t inMonth, std::int16_t inDay,
                            std::int16_t inHour, std::int16_t inMinute, std::int16_t inSecond,
                            std::int16_t inMillisecond) = 0;
};

// A value that holds another one; offered by kWrapped. Interface number 2211. The getters and
// setters of such a value are those of the innermost value (a setter makes one when there is none),
// and it is null when that one is. A chain may be of any length, but must not lead back to itself.
class LSHARED_API I_ValueWrapper : public I_Unknown {
 public:
  virtual smart_ptr<I_Value> get_InnerValue() const = 0;  // null when there is none
  virtual void put_InnerValue(smart_ptr<I_Value> inValue) = 0;
};

// A JSON value as an object; offered by kJSON. Interface number 2213. A text that is not a JSON
// object has no members. Of several members of one name the last one counts.
class LSHARED_API I_ValueJSON : public I_Unknown {
 public:
  virtual bool HasMember(String const& inName) const = 0;
  // The member as text: a string's own characters, any other value's JSON text; empty when there
  // is no such member.
  virtual String get_Member(String const& inName) const = 0;
};

// The factories. Each makes a new value of count 0: put it into a smart_ptr at once. inNullable:
// the value may become null (it does not start so). The two parameters are opaque to most kinds
// and null then; CreateValueFixedBinary takes the address of an unsigned 32-bit size in bytes as
// its first. Throw std::bad_alloc alone; never return null.
#define TARN_VALUE_FACTORY(name) \
  LSHARED_API I_Value* name(bool inNullable, void const* inParam1, void const* inParam2)
TARN_VALUE_FACTORY(CreateValueBoolean);
TARN_VALUE_FACTORY(CreateValueByte);
TARN_VALUE_FACTORY(CreateValueShort);
TARN_VALUE_FACTORY(CreateValueUShort);
TARN_VALUE_FACTORY(CreateValueMedium);
TARN_VALUE_FACTORY(CreateValueUMedium);
TARN_VALUE_FACTORY(CreateValueLong);
TARN_VALUE_FACTORY(CreateValueULong);
TARN_VALUE_FACTORY(CreateValueLLong);
TARN_VALUE_FACTORY(CreateValueULLong);
TARN_VALUE_FACTORY(CreateValueFloat);
TARN_VALUE_FACTORY(CreateValueDouble);
TARN_VALUE_FACTORY(CreateValueMoney);
TARN_VALUE_FACTORY(CreateValueNumeric);
TARN_VALUE_FACTORY(CreateValueDate);
TARN_VALUE_FACTORY(CreateValueDateTime);
TARN_VALUE_FACTORY(CreateValueString);
TARN_VALUE_FACTORY(CreateValueFixedBinary);
TARN_VALUE_FACTORY(CreateValueEnum8);
TARN_VALUE_FACTORY(CreateValueEnum16);
TARN_VALUE_FACTORY(CreateValueWrapped);
TARN_VALUE_FACTORY(CreateValueJSON);
#undef TARN_VALUE_FACTORY

}  // namespace tarn
