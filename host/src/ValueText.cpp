#include <memory>
#include <stdexcept>
#include <utility>

#include "JsonDocument.h"
#include "Utf8.h"
#include "ValueBase.h"
#include "tarn/Converter.h"
#include "tarn/NewValue.h"

namespace tarn {
namespace {

String Quoted(String const& inWord) {
  String text("\"");
  text += inWord;
  text += "\"";
  return text;
}

class TextValue : public ConvertingValue {
 public:
  using ConvertingValue::put_String;

  explicit TextValue(bool inNullable) noexcept : ConvertingValue(inNullable) {}

  ValueType get_Type() const override { return ValueType::kString; }
  bool get_Boolean() const final { return ParseBoolean(mText.view()); }
  String get_String() const final { return mText; }
  void put_String(String&& ioValue) final {
    mText = std::move(ioValue);
    ContentChanged();
    SetNotNull();
  }
  std::uint32_t get_Length() const final {
    return mText.length() * static_cast<std::uint32_t>(sizeof(WChar));
  }

 protected:
  Number ReadNumber() const final { return ParseNumber(mText.view()); }
  void WriteNumberText(String&& ioText) override {
    mText = std::move(ioText);
    ContentChanged();
  }
  virtual void ContentChanged() noexcept {}
  String const& Text() const noexcept { return mText; }
  String& Text() noexcept { return mText; }

 private:
  void ClearContent() final {
    mText.clear();
    ContentChanged();
  }

  String mText;
};

static_assert(sizeof(TextValue) <= 4 * pool::kStep, "one cache line");

class StringValue final : public TextValue {
 public:
  using TextValue::TextValue;

  std::uint32_t Release() override { return ReleaseFinal(this); }

  // Decodes into the value's own text, without a String in between.
  void Decode(char const* inText, std::size_t inLength) {
    if (inLength > kMaxBytes) throw std::length_error("text too long for tarn::String");
    // As many units as bytes are enough for every text, and exact for an ASCII one.
    WChar* const units = Text().resize_for_overwrite(static_cast<std::uint32_t>(inLength));
    std::size_t const ascii = utf8::WidenAscii(inText, inLength, units);
    if (ascii != inLength) {
      std::size_t const rest = utf8::Decode(inText + ascii, inLength - ascii, units + ascii);
      Text() = String(units, static_cast<std::int32_t>(ascii + rest));
    }
    put_MaxLength((Text().length() + 1) * static_cast<std::uint32_t>(sizeof(WChar)));
  }

 private:
  static constexpr std::size_t kMaxBytes = 0x7FFFFFFE;
};

class JsonValue final : public WithViews<TextValue, I_ValueJSON> {
 public:
  using WithViews::WithViews;

  ValueType get_Type() const override { return ValueType::kJSON; }

  bool HasMember(String const& inName) const override { return Find(inName) != nullptr; }
  String get_Member(String const& inName) const override {
    JsonDocument::Member const* const member = Find(inName);
    if (!member) return {};
    return GetConverter_UTF8()->ToUTF16(member->mText.data(), member->mText.size());
  }

 private:
  JsonDocument::Member const* Find(String const& inName) const {
    if (!mDocument) {
      mDocument = std::make_unique<JsonDocument const>(
          JsonDocument::Read(StFromUTF16(Text(), GetConverter_UTF8())));
    }
    return mDocument->Find(StFromUTF16(inName, GetConverter_UTF8()));
  }
  void WriteNumberText(String&& ioText) override {
    // JSON has no number for NaN and the infinities.
    WChar const last = ioText.isEmpty() ? WChar{0} : ioText.c_str()[ioText.length() - 1];
    bool const isWord = last == u'N' || last == u'y';
    TextValue::WriteNumberText(isWord ? Quoted(ioText) : std::move(ioText));
  }
  void ContentChanged() noexcept override { mDocument.reset(); }

  mutable std::unique_ptr<JsonDocument const> mDocument;  // read when first asked for a member
};

}  // namespace

I_Value* CreateValueString(bool inNullable, void const*, void const*) {
  return new StringValue(inNullable);
}

I_Value* NewValueString(char const* inText, std::size_t inLength) {
  auto value = std::make_unique<StringValue>(false);
  value->Decode(inText, inLength);
  return ValueBase::WithReference(value.release());
}

I_Value* CreateValueJSON(bool inNullable, void const*, void const*) {
  return new JsonValue(inNullable);
}

}  // namespace tarn
