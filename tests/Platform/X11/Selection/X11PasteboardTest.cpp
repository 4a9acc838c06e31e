#include "Platform/X11/Selection/X11Pasteboard.h"

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Base/Log.h"
#include "Platform/X11/Selection/SelectionRig.h"
#include "contract/PasteboardContract.h"

namespace stowboard {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Optional;
using Fault = OwnerScript::Fault;
using std::chrono::milliseconds;

const std::string pngBytes("\x89PNG\r\n\x1a\n picture");
const std::string tiffBytes("II*\0 picture", 12);
const auto passwords = offering({{"UTF8_STRING", "pass"}, {"x-kde-passwordManagerHint", "x"}});

/// Takes any bytes for an image; remembers which, and can be made to take its time.
class RecordingCodec : public ImageCodec {
 public:
  struct Picture : Image {
    ImageSize size() const override { return {1, 1}; }
    std::optional<RgbaBitmap> draw(int, int) const override { return std::nullopt; }
    std::vector<std::string> representationTypes() const override { return {"image/png"}; }
    std::optional<Bytes> representation(std::string_view type) const override {
      return type == "image/png" ? std::optional(Bytes("encoded")) : std::nullopt;
    }
  };

  std::shared_ptr<const Image> decode(const Bytes&) override { return nullptr; }
  std::shared_ptr<const Image> decodeToFit(const Bytes& encoded, int maxDimension) override {
    EXPECT_NE(std::this_thread::get_id(), mainThread_);
    EXPECT_EQ(maxDimension, 300);
    if (hasNoMemory.exchange(false)) throw std::bad_alloc();
    isOpen.wait(false);
    decoded.push_back(encoded);
    return std::make_shared<Picture>();
  }
  std::optional<Bytes> encodeJpeg(const RgbaBitmap&, double) override { return std::nullopt; }

  void openUp() {
    isOpen = true;
    isOpen.notify_all();
  }

  std::atomic<bool> isOpen = true;
  std::atomic<bool> hasNoMemory = false;
  // Looked at by the test only after the move that the decoding precedes.
  std::vector<Bytes> decoded;

 private:
  const std::thread::id mainThread_ = std::this_thread::get_id();
};

// Short times only where they are what ends the transfer: a busy machine must not.
SelectionOptions optionsFor(std::string_view reason) {
  SelectionOptions options;
  auto& limits = options.limits;
  limits.maxBytes = 100'000;
  if (reason == "stopped answering") limits.replyTimeout = limits.chunkTimeout = milliseconds(400);
  if (reason == "took too long") limits.totalTimeout = milliseconds(400);
  return options;
}

class X11PasteboardTest : public testing::Test, protected SelectionRig<RecordingCodec> {};

TEST_F(X11PasteboardTest, TextComesFromTheMostTrustedUsableTarget) {
  const std::string list(8, '\x01');
  const struct {
    const char* name;
    std::vector<OfferedFormat> formats;
    std::string expected;
  } rows[] = {
      {"UTF8_STRING first", {{"STRING", "latin"}, {"UTF8_STRING", "é→"}}, "é→"},
      {"charset in the name", {{"text/plain", "?"}, {"text/plain;charset=utf-8", "é"}}, "é"},
      {"text/plain holding UTF-8", {{"text/plain", "é"}}, "é"},
      {"text/plain holding Latin-1", {{"text/plain", "caf\xe9"}}, "café"},
      {"STRING is Latin-1", {{"STRING", "caf\xe9"}}, "café"},
      {"STRING that says it is UTF-8", {{"STRING", "é", "UTF8_STRING"}}, "é"},
      {"COMPOUND_TEXT last", {{"COMPOUND_TEXT", "\x1b%G→\x1b%@ \xe9"}}, "→ é"},
      {"broken UTF-8 gives way", {{"UTF8_STRING", "caf\xe9"}, {"STRING", "caf\xe9"}}, "café"},
      {"broken UTF-8 is repaired at last", {{"UTF8_STRING", "caf\xe9!"}}, "caf\uFFFD!"},
      {"a list instead of text", {{"UTF8_STRING", list, "ATOM", 32}, {"STRING", "text"}}, "text"},
      {"a refusal", {{"UTF8_STRING", "", "", 8, true}, {"text/plain", "text"}}, "text"},
      {"a NUL at the end", {{"UTF8_STRING", std::string("text\0", 5)}}, "text"},
      {"an empty text", {{"UTF8_STRING", ""}, {"STRING", "other"}}, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    copyAndAwait(offering(row.formats));
    EXPECT_EQ(seen_.back(), row.expected);
  }
}

TEST_F(X11PasteboardTest, AnOwnerWithoutTargetsIsAskedForText) {
  auto script = offering({{"STRING", "caf\xe9"}});
  script.refusesTargets = true;
  copyAndAwait(script);
  EXPECT_EQ(seen_.back(), "café");
  EXPECT_EQ(pasteboard_->types(), std::nullopt);
}

TEST_F(X11PasteboardTest, ImagesComeUnderTheTypeThatTheirTargetStandsFor) {
  const std::string jpegBytes = "\xff\xd8\xff picture";
  const std::string bigTiffBytes("MM\0+ picture", 12);
  const struct {
    const char* name;
    std::vector<OfferedFormat> formats;
    std::optional<Bytes> tiff, png;
  } rows[] = {
      {"TIFF first", {{"image/png", pngBytes}, {"image/tiff", tiffBytes}}, Bytes(tiffBytes), {}},
      {"PNG", {{"image/png", pngBytes}, {"image/jpeg", jpegBytes}}, {}, Bytes(pngBytes)},
      {"another format", {{"image/jpeg", jpegBytes}}, {}, Bytes(jpegBytes)},
      {"TIFF that is none", {{"image/tiff", "text"}, {"image/png", pngBytes}}, {}, Bytes(pngBytes)},
      {"64-bit TIFF", {{"image/tiff", bigTiffBytes}}, Bytes(bigTiffBytes), {}},
      {"PNG that is none", {{"image/png", "text"}}, {}, {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    auto formats = row.formats;
    formats.push_back({"UTF8_STRING", row.name});
    copyAndAwait(offering(formats));
    EXPECT_EQ(pasteboard_->data(PasteboardType::tiff), row.tiff);
    EXPECT_EQ(pasteboard_->data(PasteboardType::png), row.png);
    EXPECT_EQ(seen_.back(), row.name);
  }
}

TEST_F(X11PasteboardTest, ContentOfAnySizeArrivesWhole) {
  const auto large = largeText(9'000'000);
  const struct {
    std::size_t size, chunkSize;
  } rows[] = {{200, 1}, {0, 7}, {300'000, 4099}, {large.size(), 1'000'003}, {large.size(), 0}};
  for (const auto& [size, chunkSize] : rows) {
    SCOPED_TRACE(testing::Message() << size << " bytes in chunks of " << chunkSize);
    auto end = size;
    while (end < large.size() && (large[end] & 0xC0) == 0x80) ++end;
    auto script = text(large.substr(0, end));
    script.chunkSize = chunkSize;
    copyAndAwait(script);
    EXPECT_TRUE(seen_.back() == script.formats[0].bytes);
  }
  for (const auto& owner : owners_) EXPECT_EQ(owner->errors(), 0);
}

TEST_F(X11PasteboardTest, AnOwnerIsAskedAgainOnDemandAsLongAsItIsThere) {
  using Rereading = Pasteboard::Rereading;
  const auto reread = [this] {
    pasteboard_->reread();
    EXPECT_EQ(pasteboard_->rereading(), Rereading::underWay);
    EXPECT_TRUE(loop_.runUntil([this] { return pasteboard_->rereading() != Rereading::underWay; }));
  };
  auto once = text("at last");
  once.refusals = 1;
  copyAndAwait(once);
  EXPECT_THAT(seen_, ElementsAre("<none>"));
  reread();
  EXPECT_EQ(currentText(), "at last");
  EXPECT_EQ(pasteboard_->rereading(), Rereading::ended);
  owners_.clear();
  reread();
  EXPECT_EQ(pasteboard_->rereading(), Rereading::inVain);
  EXPECT_EQ(currentText(), "at last");
  EXPECT_EQ(pasteboard_->changeCount(), 1);
  copyAndAwait(once);
  // Whoever replaced it is not asked in its place.
  copyHolding(text("next"), "TARGETS");
  reread();
  EXPECT_EQ(pasteboard_->rereading(), Rereading::inVain);
}

TEST_F(X11PasteboardTest, ACopyComesFromWhoWasInFrontThenAndFromItsOwner) {
  const auto desktop = X11Connection::open({});
  const auto put = [&](xcb_window_t window, const char* name, std::uint32_t value) {
    xcb_change_property(desktop->xcb(), XCB_PROP_MODE_REPLACE, window, desktop->atom(name),
                        XCB_ATOM_WINDOW, 32, 1, &value);
  };
  const auto bringToFront = [&](std::string_view classes) {
    const auto window = desktop->createWindow(0);
    xcb_change_property(desktop->xcb(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS,
                        XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(classes.size()),
                        classes.data());
    for (const auto each : {desktop->root(), window}) {
      put(each, "_NET_SUPPORTING_WM_CHECK", window);
    }
    put(desktop->root(), "_NET_ACTIVE_WINDOW", window);
    awaitReply(xcb_get_input_focus_reply, desktop->xcb(), xcb_get_input_focus(desktop->xcb()));
  };
  bringToFront({"vault\0Vault", 12});
  auto& slow = copyHolding(text("secret"), "UTF8_STRING");
  bringToFront({"editor\0Editor", 14});
  slow.release();
  awaitMoves(1);
  EXPECT_THAT(pasteboard_->sources(), Optional(ElementsAre("Vault", "process")));
  pasteboard_->discard();
  EXPECT_EQ(currentText(), "<none>");
}

TEST_F(X11PasteboardTest, ASecretIsNeitherKeptNorCounted) {
  auto& secret = copyHolding(passwords, "TARGETS");
  secret.release();
  awaitIdle(secret);
  copyAndAwait(text("after"));
  EXPECT_THAT(seen_, ElementsAre("after"));
  EXPECT_EQ(pasteboard_->changeCount(), 1);
  EXPECT_THAT(secret.requests(), ElementsAre("TARGETS", "UTF8_STRING"));
}

// Desktops offer the plain text of a program that has ended, without its mark.
TEST_F(X11PasteboardTest, ASecretThatComesBackWithoutItsMarkIsKnownUntilAnotherCopy) {
  auto& secret = copyHolding(passwords, "UTF8_STRING");
  secret.release();
  awaitIdle(secret);
  owners_.clear();
  for (int keeper = 0; keeper < 2; ++keeper) {
    auto& kept = copyHolding(offering({{"text/plain;charset=utf-8", "pass"}}), "TARGETS");
    kept.release();
    awaitIdle(kept);
  }
  for (const char* next : {"passage", "pass"}) copyAndAwait(text(next));
  EXPECT_THAT(seen_, ElementsAre("passage", "pass"));
  EXPECT_EQ(pasteboard_->changeCount(), 2);
}

TEST_F(X11PasteboardTest, AFaultyOwnerEndsWithItsTypesAndWhatDataCame) {
  auto incremental = text(std::string(50'000, 'x'));
  incremental.chunkSize = 100;
  const auto rich = offering({{"text/rtf", "never"}, {"UTF8_STRING", "came"}});
  const auto failing = [&incremental](Fault fault) {
    auto script = incremental;
    script.fault = fault;
    return script;
  };
  auto trickling = failing(Fault::neverEnds);
  trickling.chunkSize = 1;
  auto huge = text(std::string(200'000, 'x'));
  auto hugeInChunks = huge;
  hugeInChunks.chunkSize = 30'000;
  const struct {
    const char* name;
    OwnerScript script;
    bool hasTypes;
    std::string text, reason;
  } rows[] = {
      {"no answer at all", holding(text("never"), "TARGETS"), false, "<none>", "stopped answering"},
      {"no answer after TARGETS", holding(text("never"), "UTF8_STRING"), true, "<none>",
       "stopped answering"},
      {"no answer for the richer format", holding(rich, "text/rtf"), true, "came",
       "stopped answering"},
      {"stops halfway", failing(Fault::stopsAfterOneChunk), true, "<none>", "stopped answering"},
      {"takes its time", trickling, true, "<none>", "took too long"},
      {"never ends", failing(Fault::neverEnds), true, "<none>", "exceeds the size"},
      {"too large", huge, true, "<none>", "exceeds the size"},
      {"too large in chunks", hugeInChunks, true, "<none>", "exceeds the size"},
      {"empty chunks only", failing(Fault::onlyEmptyChunks), true, "", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    open(optionsFor(row.reason));
    std::string log;
    {
      const Log::Observation observation([&](const Log::Line& line) { log += line.message; });
      copyAndAwait(row.script);
    }
    EXPECT_EQ(seen_.back(), row.text);
    EXPECT_EQ(pasteboard_->data(PasteboardType::rtf), std::nullopt);
    EXPECT_EQ(pasteboard_->types().has_value(), row.hasTypes);
    EXPECT_THAT(log, HasSubstr(row.reason));
    copyAndAwait(text("afterwards"));
    EXPECT_EQ(seen_.back(), "afterwards");
  }
}

// With the default limits of five seconds: the second owner must not wait for the first.
TEST_F(X11PasteboardTest, AHangingOwnerDelaysNobodyAndSurvivesItsLateAnswer) {
  auto& hanging = copyHolding(text("too late"), "UTF8_STRING");
  copyAndAwait(text("next"));
  hanging.release();
  awaitIdle(hanging);
  copyAndAwait(text("last"));
  EXPECT_THAT(seen_, ElementsAre("next", "last"));
  EXPECT_EQ(hanging.errors(), 0);
}

TEST_F(X11PasteboardTest, ACopyReplacedWhileItsAnswerIsUnderwayIsStillRecordedFirst) {
  auto& slow = copyHolding(text("first"), "UTF8_STRING");
  auto& newer = copyHolding(text("second"), "UTF8_STRING");
  slow.release();
  awaitMoves(1);
  newer.release();
  awaitMoves(2);
  EXPECT_THAT(seen_, ElementsAre("first", "second"));
}

// Whoever owns the clipboard answers: a request made on behalf of an older owner would reach this
// one.
TEST_F(X11PasteboardTest, AReplacedOwnersRemainingTargetsAreNotAskedOfItsSuccessor) {
  auto& slow = copyHolding(text("first"), "TARGETS");
  auto& newer = copyHolding(passwords, "TARGETS");
  slow.release();
  awaitIdle(slow);
  newer.release();
  // What a secret is known again by is asked for as well.
  ASSERT_TRUE(loop_.runUntil([&] { return newer.wasAskedFor("UTF8_STRING"); }));
  copyAndAwait(text("after"));
  EXPECT_THAT(seen_, ElementsAre("after"));
  EXPECT_THAT(newer.requests(), ElementsAre("TARGETS", "UTF8_STRING"));
}

// A request that crosses the change of owner on its way is answered by the new one.
TEST(SelectionFetchTest, ARequestThatReachedTheNextOwnerIsGivenUp) {
  const auto connection = X11Connection::open({});
  ASSERT_TRUE(connection);
  const auto sequence = [&] { return xcb_no_operation(connection->xcb()).sequence; };
  const auto now = std::chrono::steady_clock::now();
  for (const bool reachedNext : {true, false}) {
    const auto before = sequence();
    SelectionFetch fetch(*connection, {}, 1, XCB_CURRENT_TIME, now, 1,
                         std::make_shared<ByteShare>(std::make_shared<ByteBudget>(0)));
    fetch.supersede(reachedNext ? before : sequence(), 2);
    EXPECT_EQ(fetch.isPending(), !reachedNext);
  }
}

TEST_F(X11PasteboardTest, AnOwnerThatEndsHalfwayLeavesWhatCameAndElseNothing) {
  auto script = offering({{"UTF8_STRING", std::string(500, 'x')}});
  script.chunkSize = 100;
  script.fault = Fault::diesAfterOneChunk;
  std::atomic<bool> gaveUp = false;
  const Log::Observation observation([&](const Log::Line& line) {
    if (line.message.find("its owner ended") != std::string::npos) gaveUp = true;
  });
  copy(script);
  ASSERT_TRUE(loop_.runUntil([&] { return gaveUp.load(); }));
  auto& half = copyHolding(offering({{"UTF8_STRING", "text"}, {"text/rtf", "never"}}), "text/rtf");
  EXPECT_TRUE(half.wasAskedFor("UTF8_STRING"));
  owners_.clear();
  awaitMoves(1);
  EXPECT_THAT(seen_, ElementsAre("text"));
}

TEST_F(X11PasteboardTest, CopiesInQuickSuccessionAllArriveInOrder) {
  std::vector<std::string> expected;
  for (int i = 0; i < 100; ++i) {
    expected.push_back("copy " + std::to_string(i));
    const auto& owner = copy(text(expected.back()));
    // As soon as it was served, and without a turn of the main loop, it ends and the next one
    // copies.
    while (!owner.wasAskedFor("UTF8_STRING") || !owner.isIdle()) std::this_thread::yield();
    owners_.pop_back();
  }
  awaitMoves(100);
  EXPECT_EQ(seen_, expected);
}

TEST_F(X11PasteboardTest, TheSameContentCopiedAgainSharesItsStorage) {
  auto& owner = copy(offering({{"UTF8_STRING", "same"}, {"image/png", pngBytes}}));
  awaitMoves(1);
  const auto text = pasteboard_->data(PasteboardType::string);
  const auto image = pasteboard_->data(PasteboardType::png);
  owner.take();
  awaitMoves(2);
  EXPECT_TRUE(pasteboard_->data(PasteboardType::string)->sharesStorageWith(*text));
  EXPECT_TRUE(pasteboard_->data(PasteboardType::png)->sharesStorageWith(*image));
}

TEST_F(X11PasteboardTest, AnImageIsDecodedBeforeItsAnnouncementWhileTheNextCopyIsFetched) {
  codec_.isOpen = false;
  auto& image = copyHolding(offering({{"image/png", pngBytes}}), "image/png");
  bool wasDecoded = false;
  pasteboard_->onMoved = [&] {
    const auto png = pasteboard_->data(PasteboardType::png);
    if (png) wasDecoded = codec_.decoded.at(0).sharesStorageWith(*png);
    seen_.push_back(png ? "image" : currentText());
  };
  image.release();
  awaitIdle(image);
  auto& next = copyHolding(text("next"), "UTF8_STRING");
  next.release();
  awaitIdle(next);
  EXPECT_TRUE(seen_.empty());
  codec_.openUp();
  awaitMoves(2);
  EXPECT_THAT(seen_, ElementsAre("image", "next"));
  EXPECT_TRUE(wasDecoded);
}

TEST_F(X11PasteboardTest, AClipboardThatAProgramEmptiesHoldsNothingWithoutAMove) {
  auto& owner = copy(text("gone"));
  awaitMoves(1);
  owner.giveUp();
  EXPECT_TRUE(loop_.runUntil([this] { return currentText() == "<none>"; }));
  EXPECT_EQ(pasteboard_->changeCount(), 1);
}

TEST_F(X11PasteboardTest, ACopyThatFindsNoMemoryCostsNoOther) {
  codec_.hasNoMemory = true;
  copyHolding(offering({{"image/png", pngBytes}}), "image/png").release();
  ASSERT_TRUE(loop_.runUntil([this] { return !codec_.hasNoMemory; }));
  copyAndAwait(text("next"));
  EXPECT_THAT(seen_, ElementsAre("next"));
}

TEST_F(X11PasteboardTest, AnOlderCopyMakesRoomForTheNewest) {
  open({.limits = {{.maxBytes = 100'000, .maxTotalBytes = 100'000}}});
  const std::string older(60'000, 'x');
  copyHolding(offering({{"UTF8_STRING", older}, {"text/rtf", "never"}}), "text/rtf");
  auto newer = text(std::string(90'000, 'y'));
  newer.chunkSize = 30'000;
  copy(newer);
  awaitMoves(2);
  EXPECT_TRUE(seen_ == std::vector({older, newer.formats[0].bytes}));
}

TEST_F(X11PasteboardTest, NothingIsCalledAfterItsEnd) {
  codec_.isOpen = false;
  copyHolding(offering({{"image/png", pngBytes}}), "image/png").release();
  auto& held = copyHolding(text("held"), "UTF8_STRING");
  codec_.openUp();
  pasteboard_.reset();
  held.release();
  turn();
  EXPECT_TRUE(seen_.empty());
}

TEST_F(X11PasteboardTest, ALostConnectionIsReportedOnce) {
  int reports = 0;
  const Log::Observation observation([&](const Log::Line& line) {
    if (line.message.find("X server is lost") != std::string::npos) ++reports;
  });
  auto script = text("any");
  script.killsRequestor = true;
  copy(script);
  EXPECT_TRUE(loop_.runUntil([&] { return reports > 0; }));
  pasteboard_.reset();
  EXPECT_EQ(reports, 1);
}

class X11Driver : SelectionRig<RecordingCodec> {
 public:
  Pasteboard& pasteboard() { return *pasteboard_; }

  void copy(std::map<std::string, std::string, std::less<>> content) {
    OwnerScript script;
    for (auto& [type, bytes] : content) {
      script.formats.push_back({type == PasteboardType::string ? "UTF8_STRING" : type, bytes});
    }
    // Not by the moves that are announced: the test may be listening.
    const auto before = pasteboard_->changeCount();
    SelectionRig::copy(std::move(script));
    EXPECT_TRUE(loop_.runUntil([&] { return pasteboard_->changeCount() > before; }));
    // The server tells moments by the millisecond: of three within one, nobody knows the order.
    const auto copied = std::chrono::steady_clock::now();
    loop_.runUntil(
        [&] { return std::chrono::steady_clock::now() - copied > std::chrono::milliseconds(1); });
  }

  // A loss that moved the count by mistake would show when the loop runs for the next copy, in
  // CopiesInQuickSuccessionAllArriveInOrder.
  void endOwner() { owners_.clear(); }
};

INSTANTIATE_TYPED_TEST_SUITE_P(X11, PasteboardContract, X11Driver);

}  // namespace
}  // namespace stowboard
