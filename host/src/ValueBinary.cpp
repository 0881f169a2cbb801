#include <algorithm>
#include <cstring>

#include "ValueBase.h"

namespace tarn {
namespace {

using View = std::basic_string_view<WChar>;

// Bytes from the pool; null when there are none.
class Bytes {
 public:
  Bytes() = default;
  ~Bytes() { pool::Free(mData, mSize); }
  Bytes(Bytes const&) = delete;
  Bytes& operator=(Bytes const&) = delete;

  std::uint8_t* data() const noexcept { return mData; }
  std::uint32_t size() const noexcept { return mSize; }

  // Keeps the first bytes; new ones are zero.
  void Resize(std::uint32_t inSize) {
    if (inSize == mSize) return;
    std::uint8_t* const data = New(inSize);
    std::uint32_t const kept = std::min(mSize, inSize);
    if (data) {
      std::copy_n(mData, kept, data);
      std::fill(data + kept, data + inSize, std::uint8_t{0});
    }
    Adopt(data, inSize);
  }

  // The bytes may be part of these.
  void Assign(void const* inBytes, std::uint32_t inSize) {
    if (inSize == mSize) {
      if (inSize != 0) std::memmove(mData, inBytes, inSize);
      return;
    }
    std::uint8_t* const data = New(inSize);
    if (inSize != 0) std::memcpy(data, inBytes, inSize);
    Adopt(data, inSize);
  }

 private:
  static std::uint8_t* New(std::uint32_t inSize) {
    return inSize == 0 ? nullptr : static_cast<std::uint8_t*>(pool::Allocate(inSize));
  }
  void Adopt(std::uint8_t* inData, std::uint32_t inSize) noexcept {
    pool::Free(mData, mSize);
    mData = inData;
    mSize = inSize;
  }

  std::uint8_t* mData = nullptr;
  std::uint32_t mSize = 0;
};

int HexDigit(WChar inUnit) noexcept {
  if (inUnit >= u'0' && inUnit <= u'9') return inUnit - u'0';
  int const lower = inUnit | 0x20;
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool IsHex(View inText) noexcept {
  return inText.size() % 2 == 0 &&
         std::all_of(inText.begin(), inText.end(), [](WChar u) { return HexDigit(u) >= 0; });
}

class BinaryValue final : public WithViews<ConvertingValue, I_ValueBinary> {
 public:
  using ConvertingValue::put_String;

  BinaryValue(bool inNullable, std::uint32_t inSize) : WithViews(inNullable) {
    mMaxLength = inSize;
    mBytes.Resize(inSize);
  }

  ValueType get_Type() const override { return ValueType::kFixedBinary; }

  String get_String() const override {
    static constexpr char kDigits[] = "0123456789abcdef";
    String text;
    if (mBytes.size() > kMaxTextBytes) throw std::length_error("bytes too many for a text");
    WChar* out = text.resize_for_overwrite(mBytes.size() * 2);
    for (std::uint32_t i = 0; i < mBytes.size(); ++i) {
      *out++ = static_cast<WChar>(kDigits[mBytes.data()[i] >> 4]);
      *out++ = static_cast<WChar>(kDigits[mBytes.data()[i] & 15]);
    }
    return text;
  }
  void put_String(String&& ioValue) override {
    View const text = ioValue.view();
    auto const size = IsHex(text) ? static_cast<std::uint32_t>(text.size() / 2) : 0;
    mBytes.Resize(size);
    for (std::uint32_t i = 0; i < size; ++i) {
      mBytes.data()[i] =
          static_cast<std::uint8_t>(HexDigit(text[2 * i]) << 4 | HexDigit(text[2 * i + 1]));
    }
    SetNotNull();
  }

  std::uint32_t get_Length() const override { return mBytes.size(); }
  void put_Length(std::uint32_t inBytes) override {
    mBytes.Resize(inBytes);
    SetNotNull();
  }

  std::uint32_t get_DataSize() const override { return mBytes.size(); }
  std::uint32_t get_Data(void* outBytes, std::uint32_t inSize) const override {
    std::uint32_t const count = outBytes ? std::min(inSize, mBytes.size()) : 0;
    if (count != 0) std::memcpy(outBytes, mBytes.data(), count);
    return count;
  }
  void put_Data(void const* inBytes, std::uint32_t inSize) override {
    mBytes.Assign(inBytes, inBytes ? inSize : 0);
    SetNotNull();
  }

 private:
  static constexpr std::uint32_t kMaxTextBytes = 0x3FFFFFFF;

  void ClearContent() override { mBytes.Resize(0); }

  Bytes mBytes;
};

}  // namespace

I_Value* CreateValueFixedBinary(bool inNullable, void const* inParam1, void const*) {
  auto const* const size = static_cast<std::uint32_t const*>(inParam1);
  return new BinaryValue(inNullable, size ? *size : 0);
}

}  // namespace tarn
