// What a value and a text cost, beside what the C library takes for the same memory and bytes.
// The figures of one run compare with each other: value against malloc, conversion against memcpy.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tarn/tarn.h"

namespace {

using tarn::I_Value;
using tarn::smart_ptr;
using tarn::String;
using tarn::WChar;

constexpr std::size_t kKept = 1'000'000;

// Text of a given length: all ASCII, or with one character in eight of two or three bytes.
std::string Text(std::size_t inBytes, bool inMixed) {
  std::string text;
  while (text.size() < inBytes) text += inMixed ? "abc \xC3\xA9 def\xE6\x97\xA5" : "abcdefgh";
  text.resize(inBytes);
  return text;
}

// --- one value at a time
// --------------------------------------------------------------------------

void OneNumber(benchmark::State& state) {
  for (auto _ : state) {
    smart_ptr<I_Value> const value(tarn::CreateValueLLong(false, nullptr, nullptr));
    value->put_LLong(42);
    benchmark::DoNotOptimize(value.get());
  }
}
BENCHMARK(OneNumber);

void OneText(benchmark::State& state) {
  std::string const text = Text(static_cast<std::size_t>(state.range(0)), false);
  for (auto _ : state) {
    smart_ptr<I_Value> const value(tarn::CreateValueString(false, nullptr, nullptr));
    value->put_String(tarn::StToUTF16(text.data(), static_cast<std::int64_t>(text.size()),
                                      tarn::GetConverter_UTF8()));
    benchmark::DoNotOptimize(value.get());
  }
}
BENCHMARK(OneText)->Arg(8)->Arg(40);

void OneMalloc(benchmark::State& state) {
  for (auto _ : state) {
    void* memory = std::malloc(static_cast<std::size_t>(state.range(0)));
    benchmark::DoNotOptimize(memory);
    std::free(memory);
  }
}
BENCHMARK(OneMalloc)->Arg(32)->Arg(64);

// --- a million kept, then all given up
// ------------------------------------------------------------

void KeptNumbers(benchmark::State& state) {
  std::vector<smart_ptr<I_Value>> values(kKept);
  for (auto _ : state) {
    std::int64_t number = 0;
    for (auto& value : values) {
      value = smart_ptr<I_Value>(tarn::CreateValueLLong(false, nullptr, nullptr));
      value->put_LLong(number++);
    }
    for (auto& value : values) value.reset();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kKept));
}
BENCHMARK(KeptNumbers)->Unit(benchmark::kMillisecond);

void KeptTexts(benchmark::State& state) {
  std::string const text = Text(8, false);
  std::vector<smart_ptr<I_Value>> values(kKept);
  for (auto _ : state) {
    for (auto& value : values) {
      value = smart_ptr<I_Value>(tarn::CreateValueString(false, nullptr, nullptr));
      value->put_String(tarn::StToUTF16(text.data(), 8, tarn::GetConverter_UTF8()));
    }
    for (auto& value : values) value.reset();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kKept));
}
BENCHMARK(KeptTexts)->Unit(benchmark::kMillisecond);

void KeptMallocs(benchmark::State& state) {
  auto const size = static_cast<std::size_t>(state.range(0));
  std::vector<void*> pieces(kKept);
  for (auto _ : state) {
    for (auto& piece : pieces) {
      piece = std::malloc(size);
      std::memset(piece, 1, 8);
    }
    for (void* const piece : pieces) std::free(piece);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kKept));
}
BENCHMARK(KeptMallocs)->Arg(32)->Arg(64)->Unit(benchmark::kMillisecond);

// --- text
// -----------------------------------------------------------------------------------------

template <bool tMixed>
void ToUtf16(benchmark::State& state) {
  std::string const text = Text(static_cast<std::size_t>(state.range(0)), tMixed);
  tarn::I_Converter const* const converter = tarn::GetConverter_UTF8();
  for (auto _ : state) benchmark::DoNotOptimize(converter->ToUTF16(text.data(), text.size()));
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ToUtf16<false>)->Name("ToUtf16Ascii")->Arg(8)->Arg(40)->Arg(1000)->Arg(1000000);
BENCHMARK(ToUtf16<true>)->Name("ToUtf16Mixed")->Arg(8)->Arg(40)->Arg(1000)->Arg(1000000);

template <bool tMixed>
void FromUtf16(benchmark::State& state) {
  String const text(Text(static_cast<std::size_t>(state.range(0)), tMixed).c_str());
  tarn::I_Converter const* const converter = tarn::GetConverter_UTF8();
  for (auto _ : state) benchmark::DoNotOptimize(converter->FromUTF16(text.c_str(), text.length()));
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(FromUtf16<false>)->Name("FromUtf16Ascii")->Arg(8)->Arg(40)->Arg(1000)->Arg(1000000);
BENCHMARK(FromUtf16<true>)->Name("FromUtf16Mixed")->Arg(8)->Arg(40)->Arg(1000)->Arg(1000000);

// The same bytes into a new text of the same size, without a conversion.
void CopyOfText(benchmark::State& state) {
  std::string const text = Text(static_cast<std::size_t>(state.range(0)) * sizeof(WChar), false);
  for (auto _ : state) {
    String copy;
    WChar* const units = copy.resize_for_overwrite(static_cast<std::uint32_t>(state.range(0)));
    std::memcpy(units, text.data(), text.size());
    benchmark::DoNotOptimize(copy);
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(CopyOfText)->Arg(8)->Arg(40)->Arg(1000)->Arg(1000000);

}  // namespace
