// How long the main thread is held while the whole program records: the object graph of the real
// program on a real X server, a heartbeat on its main thread, and xclip as the other application.
//
// Run it as: tools/session/with-desktop build/bench/bench/heartbeat_bench
// The first row, with nothing copied, is the reference: what this machine's scheduler costs.

#include <fmt/format.h>

#include <sys/resource.h>
#include <time.h>
#include <QApplication>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <random>

#include "Core/DependencyContainer.h"
#include "Platform/Desktop/XdgBundle.h"
#include "Platform/select.h"
#include "Services/ThumbnailGenerator.h"

namespace stowboard {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// How long the main thread was held between two beats: as the user feels it, and what of it the
/// thread itself was busy, which a loaded machine does not lengthen.
struct Gap {
  Milliseconds wall{};
  Milliseconds busy{};
};

Milliseconds threadTime() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// Beats as often as the event loop turns, once a millisecond, and keeps the longest gaps.
class Heartbeat {
 public:
  Heartbeat() {
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { beat(); });
  }
  void start() {
    longest_ = {};
    last_ = Clock::now();
    lastBusy_ = threadTime();
    timer_.start(1);
  }
  Gap stop() {
    beat();
    timer_.stop();
    return longest_;
  }

 private:
  void beat() {
    const auto now = Clock::now();
    const auto busy = threadTime();
    longest_.wall = std::max<Milliseconds>(longest_.wall, now - last_);
    longest_.busy = std::max(longest_.busy, busy - lastBusy_);
    last_ = now;
    lastBusy_ = busy;
  }
  QTimer timer_;
  Clock::time_point last_;
  Milliseconds lastBusy_{};
  Gap longest_;
};

bool turnUntil(const std::function<bool()>& isDone, std::chrono::seconds bound) {
  const auto deadline = Clock::now() + bound;
  while (!isDone() && Clock::now() < deadline) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  return isDone();
}

QString textFile(const QTemporaryDir& folder, int megabytes) {
  const QString path = folder.filePath(QString("%1.txt").arg(megabytes));
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly)) return {};
  const QByteArray line = "A line of ordinary text, as long as most are, ending here.\n";
  for (qint64 written = 0; written < megabytes * 1'000'000LL; written += line.size()) {
    file.write(line);
  }
  return path;
}

QString noisePng(const QTemporaryDir& folder) {
  QImage image(3840, 2160, QImage::Format_RGB32);
  std::minstd_rand random(1);
  for (int y = 0; y < image.height(); ++y) {
    auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < image.width(); ++x) {
      row[x] = qRgb(x & 0xff, y & 0xff, static_cast<int>(random() & 0x0f));
    }
  }
  const QString path = folder.filePath("4k.png");
  image.save(path);
  return path;
}

double peakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

class Bench {
 public:
  explicit Bench(const Platform& platform) : container_(platform) {
    AppSettings settings;
    settings.maxRecords = 1000;
    container_.appState()->updateSettings(settings);
    container_.clipboardMonitor().start();
  }

  void idle() {
    heartbeat_.start();
    turnUntil([] { return false; }, std::chrono::seconds(2));
    report("nothing copied", heartbeat_.stop());
  }

  void copy(const std::string& what, const QString& file, const QString& target) {
    const auto& clips = container_.appState()->clips();
    const std::size_t before = clips.size();
    QProcess owner;
    heartbeat_.start();
    const auto begin = Clock::now();
    owner.start("xclip", {"-quiet", "-selection", "clipboard", "-t", target, "-i", file});
    const bool isRecorded =
        turnUntil([&] { return clips.size() > before; }, std::chrono::seconds(30));
    const Milliseconds recorded = Clock::now() - begin;
    turnUntil([] { return false; }, std::chrono::seconds(1));
    report(what, heartbeat_.stop());
    fmt::print("    {} after {:.0f} ms from xclip's start, peak memory {:.0f} MB\n",
               isRecorded ? "recorded" : "NOT RECORDED", recorded.count(), peakMegabytes());
    owner.kill();
    owner.waitForFinished();
  }

  void save(int clips) {
    heartbeat_.start();
    for (int number = 0; number < clips; ++number) {
      container_.appState()->append({Uuid::random(), ClipType::text,
                                     Text(fmt::format("{} {}", number, std::string(10'000, 'x'))),
                                     std::nullopt, std::nullopt, Timestamp::now()});
      QCoreApplication::processEvents();
    }
    report(fmt::format("{} clips of 10 KB appended and saved", clips), heartbeat_.stop());
    container_.storage().flushPendingWrites();
  }

 private:
  static void report(const std::string& what, const Gap& gap) {
    fmt::print("{:<44} main thread held at most {:6.2f} ms, busy {:6.2f} ms of one gap\n", what,
               gap.wall.count(), gap.busy.count());
  }

  DependencyContainer container_;
  Heartbeat heartbeat_;
};

int run(int& argumentCount, char* arguments[]) {
  QApplication application(argumentCount, arguments);
  QTemporaryDir folder;
  qputenv("XDG_DATA_HOME", folder.path().toLocal8Bit());
  auto bundle = std::make_unique<XdgBundle>();
  const DisplaySelection display = selectDisplay(*bundle);
  PlatformSelection selection(display, std::move(bundle), ThumbnailGenerator::maxDimension);
  Bench bench(selection.complete());
  bench.idle();
  for (const int megabytes : {1, 10, 50}) {
    bench.copy(fmt::format("{} MB of text copied", megabytes), textFile(folder, megabytes),
               "UTF8_STRING");
  }
  bench.copy("a 3840 x 2160 PNG copied", noisePng(folder), "image/png");
  bench.save(200);
  return 0;
}

}  // namespace
}  // namespace stowboard

int main(int argumentCount, char* arguments[]) { return stowboard::run(argumentCount, arguments); }
