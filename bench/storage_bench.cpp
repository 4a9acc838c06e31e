// A history of 1000 clips and 30 MB on its way to the disk and back. Each case has a plain loop
// beside it that does the least that any program must; only the ratio of the two means anything.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "Models/Json/JsonForm.h"
#include "SampleHistory.h"
#include "Services/StorageManager.h"

namespace stowboard::bench {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t clipCount = 1000;
constexpr std::size_t bytesPerClip = 30'000;

const std::vector<ClipItem>& history() {
  static const auto clips = SampleHistory::make(clipCount, bytesPerClip);
  return clips;
}

/// A folder on the disk that the benchmark is run from; memory file systems never sync.
const fs::path& folder() {
  static const struct Folder {
    Folder() {
      std::string name = fs::current_path() / "storage_bench.XXXXXX";
      path = ::mkdtemp(name.data());
    }
    ~Folder() { fs::remove_all(path); }
    fs::path path;
  } folder;
  return folder.path;
}

const std::string& historyJson() {
  static const std::string json = [] {
    std::string whole;
    encodeJson(history(), [&](std::string_view chunk) { return (whole += chunk, true); });
    return whole;
  }();
  return json;
}

void countBytes(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * historyJson().size()));
}

void require(benchmark::State& state, bool condition) {
  if (!condition) state.SkipWithError("did not do what it measures");
}

void saveReference(benchmark::State& state) {
  const std::string& json = historyJson();
  const fs::path path = folder() / "reference.json";
  for (auto _ : state) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    std::string_view left = json;
    while (!left.empty()) {
      const ssize_t count = ::write(file, left.data(), left.size());
      if (count <= 0) break;
      left.remove_prefix(static_cast<std::size_t>(count));
    }
    require(state, left.empty() && ::fsync(file) == 0);
    ::close(file);
  }
  countBytes(state);
}
BENCHMARK(saveReference)->Unit(benchmark::kMillisecond)->UseRealTime();

void save(benchmark::State& state) {
  StorageManager storage(folder());
  for (auto _ : state) {
    storage.saveHistory(history());
    storage.flushPendingWrites();
  }
  require(state, fs::file_size(folder() / "history.json") == historyJson().size());
  countBytes(state);
}
BENCHMARK(save)->Unit(benchmark::kMillisecond)->UseRealTime();

void encodeOnly(benchmark::State& state) {
  for (auto _ : state) {
    std::size_t size = 0;
    encodeJson(history(), [&](std::string_view chunk) { return (size += chunk.size(), true); });
    benchmark::DoNotOptimize(size);
  }
  countBytes(state);
}
BENCHMARK(encodeOnly)->Unit(benchmark::kMillisecond);

void writeHistoryFile() {
  StorageManager storage(folder());
  storage.saveHistory(history());
  storage.flushPendingWrites();
}

/// Reads the file whole into memory of its own, as a program must that keeps what it reads.
void loadReference(benchmark::State& state) {
  writeHistoryFile();
  const std::size_t size = historyJson().size();
  for (auto _ : state) {
    const int file = ::open((folder() / "history.json").c_str(), O_RDONLY | O_CLOEXEC);
    const std::unique_ptr<char[]> content(new char[size]);
    std::size_t done = 0;
    while (done < size) {
      const ssize_t count = ::read(file, content.get() + done, size - done);
      if (count <= 0) break;
      done += static_cast<std::size_t>(count);
    }
    ::close(file);
    require(state, done == size);
    benchmark::DoNotOptimize(content.get());
  }
  countBytes(state);
}
BENCHMARK(loadReference)->Unit(benchmark::kMillisecond);

void load(benchmark::State& state) {
  writeHistoryFile();
  StorageManager storage(folder());
  for (auto _ : state) {
    std::vector<ClipItem> clips = storage.loadHistory();
    require(state, clips.size() == clipCount);
    benchmark::DoNotOptimize(clips.data());
  }
  countBytes(state);
}
BENCHMARK(load)->Unit(benchmark::kMillisecond);

/// What one save costs its caller: a copy of the list and its way into the queue.
void mainThreadShareOfSave(benchmark::State& state) {
  StorageManager storage(folder());
  for (auto _ : state) {
    storage.saveHistory(history());
    state.PauseTiming();
    storage.flushPendingWrites();
    state.ResumeTiming();
  }
}
BENCHMARK(mainThreadShareOfSave)->Unit(benchmark::kMicrosecond)->Iterations(30)->UseRealTime();

/// The same with everything in the page cache's favour: one text of 50 MB.
void saveLargeText(benchmark::State& state) {
  const std::vector<ClipItem> clips{ClipItem(Uuid::random(), ClipType::text,
                                             Text(std::string(50'000'000, 'x')), {}, {},
                                             Timestamp::now())};
  StorageManager storage(folder());
  for (auto _ : state) {
    storage.saveHistory(clips);
    storage.flushPendingWrites();
  }
}
BENCHMARK(saveLargeText)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace stowboard::bench

BENCHMARK_MAIN();
