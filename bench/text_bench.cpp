// Validation and search of texts. The loops named "…Reference" do plain work over the same bytes,
// so that ratios within one run say what a noisy machine's times do not.

#include <benchmark/benchmark.h>
#include <string.h>

#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "Base/Unicode/SearchQuery.h"
#include "Base/Unicode/Text.h"
#include "Base/Unicode/Utf8.h"

namespace {

using namespace stowboard;

constexpr std::size_t megabyte = 1 << 20;

enum Script { ascii, accented, capitals, chinese, russian };

struct Sample {
  std::vector<std::string> words;
  std::string gap;
  /// Occurs in no text.
  std::string query;
};

/// Ideographs as often as in running text, roughly: Zipf's law over 3000 of them.
std::vector<std::string> chineseWords() {
  std::mt19937 random(7);
  std::vector<double> weights;
  for (int rank = 0; rank < 3000; ++rank) weights.push_back(1.0 / (rank + 10));
  std::discrete_distribution<char32_t> ideograph(weights.begin(), weights.end());
  std::vector<std::string> words = {"，", "。", "“", "”", "的"};
  for (int count = 0; count < 3000; ++count) {
    std::string word;
    for (int length = 0; length < 2; ++length) {
      // Spread over the block by a step without a common factor.
      appendUtf8(word, 0x4E00 + (ideograph(random) * 2557) % 20902);
    }
    words.push_back(word);
    if (count % 60 == 0) words.insert(words.end(), 5, count % 120 == 0 ? "，" : "的");
  }
  return words;
}

Sample sampleOf(Script script) {
  switch (script) {
    case ascii:
      return {{"the", "Clipboard", "history", "of", "a", "Document", "and", "copied", "items"},
              " ",
              "Copied Documents History"};
    case accented:
      return {{"café", "naïve", "déjà", "vu", "élève", "le", "garçon", "Noël", "où"},
              " ",
              "garçon élève cafés"};
    case capitals:
      return {{"Élan", "straße", "ÜBER", "Ärger", "die", "cafe\u0301", "Große", "und"},
              " ",
              "über Ärger Straßen Élan"};
    case chinese:
      return {chineseWords(), "", "剪贴板历史记录"};
    case russian:
      return {
          {"История", "буфера", "обмена", "и", "Документ", "текст"}, " ", "Обмена Буфера Тексты"};
  }
  return {};
}

std::string makeText(Script script, std::size_t size, unsigned seed) {
  const auto sample = sampleOf(script);
  std::mt19937 random(seed);
  std::string text;
  while (text.size() < size) {
    text += sample.words[random() % sample.words.size()] + sample.gap;
  }
  return text;
}

std::vector<Text> makeClips(Script script) {
  std::vector<Text> clips;
  for (unsigned seed = 0; seed < 1000; ++seed) clips.emplace_back(makeText(script, 10000, seed));
  return clips;
}

void search1000Clips(benchmark::State& state) {
  const auto script = static_cast<Script>(state.range(0));
  const auto clips = makeClips(script);
  const SearchQuery query(sampleOf(script).query, "en");
  for (const auto& clip : clips) clip.prepareForSearch("en");
  std::size_t found = 0;
  for (auto _ : state) {
    for (const auto& clip : clips) found += clip.contains(query);
  }
  if (found != 0) state.SkipWithError("the query was not to be found");
}

/// memmem finds bytes without regard to anything else.
void search1000ClipsReference(benchmark::State& state) {
  const auto script = static_cast<Script>(state.range(0));
  const auto clips = makeClips(script);
  const auto query = sampleOf(script).query;
  std::size_t found = 0;
  for (auto _ : state) {
    for (const auto& clip : clips) {
      const auto text = clip.view();
      found += memmem(text.data(), text.size(), query.data(), query.size()) != nullptr;
    }
  }
  if (found != 0) state.SkipWithError("the query was not to be found");
}

void searchOneCharacter(benchmark::State& state) {
  const auto script = static_cast<Script>(state.range(0));
  const auto clips = makeClips(script);
  const SearchQuery query(script == chinese ? "好" : "ž", "en");
  for (const auto& clip : clips) clip.prepareForSearch("en");
  for (auto _ : state) {
    for (const auto& clip : clips) benchmark::DoNotOptimize(clip.contains(query));
  }
}

void prepare1000Clips(benchmark::State& state) {
  const auto script = static_cast<Script>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    const auto clips = makeClips(script);
    state.ResumeTiming();
    for (const auto& clip : clips) clip.prepareForSearch("en");
  }
}

void validate50Megabytes(benchmark::State& state) {
  const Bytes bytes(makeText(static_cast<Script>(state.range(0)), 50 * megabyte, 1));
  for (auto _ : state) benchmark::DoNotOptimize(Text::fromUtf8(bytes));
}

void validate50MegabytesReference(benchmark::State& state) {
  const auto text = makeText(static_cast<Script>(state.range(0)), 50 * megabyte, 1);
  std::string copy(text.size(), ' ');
  for (auto _ : state) {
    std::memcpy(copy.data(), text.data(), text.size());
    benchmark::ClobberMemory();
  }
}

void compare50Megabytes(benchmark::State& state) {
  auto bytes = makeText(static_cast<Script>(state.range(0)), 50 * megabyte, 1);
  const Text left(bytes);
  bytes += "e\u0301";
  const Text right(bytes);
  for (auto _ : state) benchmark::DoNotOptimize(left == right);
}

/// The start-up cost of what is worked out once: the traits of all blocks that Latin text uses.
void preview(benchmark::State& state) {
  const Text text(makeText(static_cast<Script>(state.range(0)), 50 * megabyte, 1));
  for (auto _ : state) benchmark::DoNotOptimize(text.prefix(60));
}

#define SCRIPTS ArgName("script")->DenseRange(ascii, russian)->Unit(benchmark::kMillisecond)
BENCHMARK(search1000Clips)->SCRIPTS;
BENCHMARK(search1000ClipsReference)->SCRIPTS;
BENCHMARK(searchOneCharacter)->SCRIPTS;
BENCHMARK(prepare1000Clips)->SCRIPTS->Iterations(2);
BENCHMARK(validate50Megabytes)->SCRIPTS;
BENCHMARK(validate50MegabytesReference)->SCRIPTS;
BENCHMARK(compare50Megabytes)->SCRIPTS;
BENCHMARK(preview)->SCRIPTS->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
