// What the user waits for in the history panel, with a full history of 1000 clips of which 300 are
// pictures, up to the painted image; beside a plain list of as many short texts, all one height,
// that the toolkit paints by itself.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QBuffer>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListView>
#include <QPainter>
#include <QScrollBar>
#include <QStringListModel>
#include <cstdlib>
#include <ctime>
#include <random>

#include "Platform/Inert.h"
#include "Platform/Qt/QtRunLoop.h"
#include "SampleHistory.h"
#include "UI/Panel/ClipPreview.h"
#include "UI/Panel/HistoryView.h"

namespace stowboard {
namespace {

constexpr int clipCount = 1000;

ClipItem picture(std::uint32_t seed) {
  QImage image(300, 225, QImage::Format_RGB32);
  std::mt19937 random(seed);
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      image.setPixel(x, y, qRgb(x % 256, y, static_cast<int>(random() % 64)));
  QBuffer buffer;
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, "jpeg", 80);
  return {Uuid::random(),
          ClipType::image,
          std::nullopt,
          std::nullopt,
          Bytes(buffer.data().toStdString()),
          Timestamp::now()};
}

// Of ten, three pictures; the others as in every history here, under identities of their own.
const AppState::Clips& fullHistory() {
  static const AppState::Clips clips = [] {
    AppState::Clips texts = bench::SampleHistory::make(2 * clipCount, 2000);
    std::erase_if(texts, [](const ClipItem& clip) { return clip.type() == ClipType::image; });
    AppState::Clips made;
    for (std::uint32_t index = 0; index < clipCount; ++index)
      made.push_back(index % 10 < 3 ? picture(index) : texts[index]);
    return made;
  }();
  return clips;
}

ClipItem hostile(const std::string& unit, std::size_t count) {
  std::string text;
  text.reserve(unit.size() * count);
  for (std::size_t index = 0; index < count; ++index) text += unit;
  return {Uuid::random(), ClipType::text, Text(std::move(text)),
          std::nullopt,   std::nullopt,   Timestamp::now()};
}

std::shared_ptr<AppState> stateOf(const AppState::Clips& clips) {
  AppSettings settings;
  settings.maxRecords = clipCount;
  return std::make_shared<AppState>(clips, settings);
}

// The view on a panel of its own, the way that it is shown.
struct Shown {
  explicit Shown(const AppState::Clips& clips) : state(stateOf(clips)) {}

  void prepare() {
    view.prepare();
    // Thumbnails come from another thread.
    const std::clock_t start = std::clock();
    while (std::clock() - start < CLOCKS_PER_SEC / 2) QCoreApplication::processEvents();
  }
  void open() {
    model.reset();
    view.show();
    view.viewDidAppear();
    paint();
  }
  void paint() {
    QCoreApplication::sendPostedEvents();
    view.render(&image);
  }
  void press(int key, const QString& text = {}) {
    QKeyEvent event(QEvent::KeyPress, key, {}, text);
    QApplication::sendEvent(view.findChild<QLineEdit*>(), &event);
  }

  std::shared_ptr<AppState> state;
  QtRunLoop runLoop;
  InertPasteboard pasteboard;
  HistoryViewModel model{state, nullptr, runLoop};
  HistoryView view{state, model, pasteboard};
  QImage image{HistoryView::size, QImage::Format_ARGB32_Premultiplied};
};

void firstOpening(benchmark::State& run) {
  for (auto _ : run) {
    run.PauseTiming();
    auto shown = std::make_unique<Shown>(fullHistory());
    if (run.range(0) != 0) shown->prepare();
    run.ResumeTiming();
    shown->open();
    run.PauseTiming();
    shown.reset();
    run.ResumeTiming();
  }
}
BENCHMARK(firstOpening)
    ->ArgName("prepared")
    ->Arg(1)
    ->Arg(0)
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);

void laterOpening(benchmark::State& run) {
  Shown shown(fullHistory());
  shown.prepare();
  for (auto _ : run) {
    shown.open();
    shown.view.hide();
  }
}
BENCHMARK(laterOpening)->Unit(benchmark::kMillisecond);

void typedCharacter(benchmark::State& run) {
  Shown shown(fullHistory());
  shown.prepare();
  shown.open();
  const QString query = "return";
  qsizetype place = 0;
  for (auto _ : run) {
    const QChar next = query[place];
    shown.press(next.toUpper().unicode(), next);
    shown.paint();
    if (++place < query.size()) continue;
    run.PauseTiming();
    place = 0;
    shown.model.reset();
    shown.paint();
    run.ResumeTiming();
  }
}
BENCHMARK(typedCharacter)->Unit(benchmark::kMillisecond);

void scrolledPage(benchmark::State& run) {
  Shown shown(fullHistory());
  shown.prepare();
  shown.open();
  int direction = Qt::Key_PageDown;
  for (auto _ : run) {
    shown.press(direction);
    shown.paint();
    const auto row = shown.model.selectedIndex();
    if (row == 0) direction = Qt::Key_PageDown;
    if (row == clipCount - 1) direction = Qt::Key_PageUp;
  }
}
BENCHMARK(scrolledPage)->Unit(benchmark::kMillisecond);

// Opening with nothing kept but such clips; each is shaped anew.
void hostileClip(benchmark::State& run) {
  static const AppState::Clips clips{hostile("x", 50 << 20), hostile("line\n", 100'000),
                                     hostile("\u0301", 25 << 20), hostile("\u202eשלום", 1 << 20),
                                     hostile(std::string(1, '\0'), 1 << 20)};
  const ClipItem& clip = clips[static_cast<std::size_t>(run.range(0))];
  QImage image(HistoryView::size, QImage::Format_ARGB32_Premultiplied);
  for (auto _ : run) {
    const QString preview = printablePreview(clip);
    benchmark::DoNotOptimize(PreviewMeasure::of(preview, QApplication::font()));
    QPainter painter(&image);
    PreviewLayout(preview, QApplication::font(), 400).draw(painter, {0, 0});
  }
}
BENCHMARK(hostileClip)->DenseRange(0, 4)->Unit(benchmark::kMillisecond);

void referenceList(benchmark::State& run) {
  QStringList texts;
  for (int index = 0; index < clipCount; ++index) texts << QString("a short text, %1").arg(index);
  QStringListModel model(texts);
  QListView list;
  list.setUniformItemSizes(true);
  list.setFixedSize(HistoryView::size);
  list.setModel(&model);
  QImage image(HistoryView::size, QImage::Format_ARGB32_Premultiplied);
  for (auto _ : run) {
    model.setStringList(texts);
    list.show();
    QCoreApplication::sendPostedEvents();
    list.render(&image);
    list.hide();
  }
}
BENCHMARK(referenceList)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace stowboard

int main(int argumentCount, char** arguments) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argumentCount, arguments);
  benchmark::Initialize(&argumentCount, arguments);
  benchmark::RunSpecifiedBenchmarks();
}
