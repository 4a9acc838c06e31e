#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "Base/Log.h"
#include "Platform/Qt/QtImageCodec.h"
#include "Platform/X11/Selection/ScriptedRequester.h"
#include "Platform/X11/Selection/SelectionRig.h"

namespace stowboard {
namespace {

using std::chrono::milliseconds;
using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;

constexpr auto plain = PasteboardType::string;

/// An image whose encoding the test lets through.
struct GatedImage : Image {
  ImageSize size() const override { return {1, 1}; }
  std::optional<RgbaBitmap> draw(int, int) const override { return std::nullopt; }
  std::vector<std::string> representationTypes() const override { return {"image/png"}; }
  std::optional<Bytes> representation(std::string_view type) const override {
    if (type != "image/png") return std::nullopt;
    isOpen.wait(false);
    ++encodings;
    return Bytes("encoded");
  }
  void openUp() {
    isOpen = true;
    isOpen.notify_all();
  }
  std::atomic<bool> isOpen = false;
  mutable std::atomic<int> encodings = 0;
};

class SelectionServingTest : public testing::Test, protected SelectionRig<QtImageCodec> {
 protected:
  bool isServing(const std::string& selection, const std::string& text) {
    const auto answer = requester_.convert("UTF8_STRING", selection);
    return answer && answer->bytes == text;
  }
  void write(const std::string& text) {
    pasteboard_->clearContents();
    pasteboard_->setString(Text(text), plain);
  }
  /// Returns when other programs get what was written.
  void publish() {
    turn();
    const auto text = pasteboard_->string(plain);
    const std::string target = text ? "UTF8_STRING" : "TIMESTAMP";
    ASSERT_TRUE(loop_.runUntil([&] {
      const auto answer = requester_.convert(target);
      return answer && (!text || answer->bytes == text->view());
    }));
  }
  void publish(const std::string& text) {
    write(text);
    publish();
  }
  void awaitPublished() {
    std::promise<void> published;
    pasteboard_->whenPublished([&] { published.set_value(); });
    ASSERT_EQ(published.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
  }

  ScriptedRequester requester_;
};

TEST_F(SelectionServingTest, TextIsGivenInEveryEncodingThatHoldsAllOfIt) {
  const struct {
    const char* text;
    std::optional<Answer> string, compound, any;
  } rows[] = {
      {"", {{"STRING", ""}}, {{"COMPOUND_TEXT", ""}}, {{"STRING", ""}}},
      {"café ÿ",
       {{"STRING", "caf\xe9 \xff"}},
       {{"COMPOUND_TEXT", "caf\xe9 \xff"}},
       {{"STRING", "caf\xe9 \xff"}}},
      {"Ā→", {}, {{"COMPOUND_TEXT", "\x1b%GĀ→\x1b%@"}}, {{"COMPOUND_TEXT", "\x1b%GĀ→\x1b%@"}}},
      {"\x1b[1m→", {}, {}, {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    publish(row.text);
    for (const char* target : {"UTF8_STRING", "text/plain;charset=utf-8", "text/plain"}) {
      EXPECT_EQ(requester_.convert(target), (Answer{target, row.text}));
    }
    const auto offered = requester_.names(requester_.convert("TARGETS")->bytes);
    const std::pair<const char*, std::optional<Answer>> encodings[] = {
        {"STRING", row.string}, {"COMPOUND_TEXT", row.compound}, {"TEXT", row.any}};
    for (const auto& [target, expected] : encodings) {
      SCOPED_TRACE(target);
      EXPECT_EQ(requester_.convert(target), expected);
      EXPECT_EQ(std::ranges::count(offered, target), expected ? 1 : 0);
    }
  }
}

TEST_F(SelectionServingTest, RichTextAndOtherDataGoOutUnchangedBesideTheText) {
  const std::string rtf = "{\\rtf1 \xe9}";
  pasteboard_->clearContents();
  pasteboard_->setData(Bytes(rtf), PasteboardType::rtf);
  pasteboard_->setString(Text("é"), plain);
  pasteboard_->setData(Bytes("<b>é</b>"), "text/html");
  publish();
  for (const char* target : {"text/rtf", "application/rtf", "text/richtext"}) {
    EXPECT_EQ(requester_.convert(target), (Answer{target, rtf}));
  }
  EXPECT_EQ(requester_.convert("text/html"), (Answer{"text/html", "<b>é</b>"}));
  EXPECT_EQ(requester_.convert("image/png"), std::nullopt);
  const auto targets = requester_.convert("TARGETS");
  EXPECT_EQ(targets->type, "ATOM");
  EXPECT_THAT(requester_.names(targets->bytes),
              IsSupersetOf({"TARGETS", "TIMESTAMP", "MULTIPLE", "SAVE_TARGETS", "text/rtf",
                            "text/html", "UTF8_STRING"}));
}

TEST_F(SelectionServingTest, ASlowEncodingHoldsUpNobodyElseAndIsDoneOnce) {
  const auto image = std::make_shared<GatedImage>();
  pasteboard_->clearContents();
  pasteboard_->writeImage(image);
  pasteboard_->setString(Text("beside"), plain);
  publish();
  ScriptedRequester first, second;
  first.ask("image/png");
  second.ask("image/png");
  EXPECT_EQ(requester_.convert("UTF8_STRING"), (Answer{"UTF8_STRING", "beside"}));
  // What was asked for is what was there when it was.
  publish("newer");
  image->openUp();
  for (auto* each : {&first, &second}) {
    EXPECT_EQ(each->awaitAnswer(), "ANSWER");
    EXPECT_EQ(each->take("ANSWER"), (Answer{"image/png", "encoded"}));
  }
  EXPECT_EQ(image->encodings, 1);
}

TEST_F(SelectionServingTest, MultipleAnswersWhatItCanAndMarksTheRest) {
  const auto text = largeText(1'000'000);
  publish(text);
  std::vector<xcb_atom_t> pairs;
  for (const char* name : {"UTF8_STRING", "A", "image/png", "B", "TIMESTAMP", "C", "MULTIPLE", "D",
                           "text/plain", ""}) {
    pairs.push_back(requester_.atom(name));
  }
  xcb_change_property(requester_.xcb(), XCB_PROP_MODE_REPLACE, requester_.window(),
                      requester_.atom("PAIRS"), requester_.atom("ATOM_PAIR"), 32,
                      static_cast<std::uint32_t>(pairs.size()), pairs.data());
  requester_.ask("MULTIPLE", "PAIRS");
  ASSERT_EQ(requester_.awaitAnswer(), "PAIRS");
  EXPECT_THAT(requester_.names(requester_.take("PAIRS")->bytes),
              ElementsAre("UTF8_STRING", "A", "", "", "TIMESTAMP", "C", "", "", "", ""));
  EXPECT_EQ(requester_.take("C")->bytes.size(), 4u);
  EXPECT_EQ(requester_.read("A"), (Answer{"UTF8_STRING", text}));
  requester_.ask("MULTIPLE", "");
  EXPECT_EQ(requester_.awaitAnswer(), std::nullopt);
}

TEST_F(SelectionServingTest, RequestsFromBeforeOurOwnershipAreRefusedAndOldClientsServed) {
  publish("text");
  const auto time = requester_.convert("TIMESTAMP");
  ASSERT_EQ(time->type, "INTEGER");
  const auto since = *reinterpret_cast<const xcb_timestamp_t*>(time->bytes.data());
  requester_.ask("UTF8_STRING", "ANSWER", "CLIPBOARD", since - 1);
  EXPECT_EQ(requester_.awaitAnswer(), std::nullopt);
  requester_.ask("UTF8_STRING", "ANSWER", "CLIPBOARD", since);
  EXPECT_EQ(requester_.awaitAnswer(), "ANSWER");
  requester_.ask("UTF8_STRING", "");
  EXPECT_EQ(requester_.awaitAnswer(), "UTF8_STRING");
  EXPECT_EQ(requester_.take("UTF8_STRING")->bytes, "text");
}

void beginTransfer(ScriptedRequester& requester) {
  requester.ask("UTF8_STRING");
  ASSERT_EQ(requester.awaitAnswer(), "ANSWER");
}

TEST_F(SelectionServingTest, ManyRequestersAreServedAtOnceWhateverOthersDo) {
  const auto text = largeText(3'000'000);
  publish(text);
  ScriptedRequester stalled, vanishing;
  for (auto* each : {&stalled, &vanishing}) {
    beginTransfer(*each);
    ASSERT_EQ(each->take("ANSWER")->type, "INCR");
  }
  ASSERT_TRUE(vanishing.awaitChunk("ANSWER"));
  xcb_destroy_window(vanishing.xcb(), vanishing.window());
  xcb_flush(vanishing.xcb());
  std::vector<ScriptedRequester> others(18);
  std::vector<std::thread> threads;
  std::atomic<int> served = 0;
  for (std::size_t i = 0; i < others.size(); ++i) {
    threads.emplace_back([&, i] {
      const auto answer = others[i].convert("UTF8_STRING");
      if (answer && answer->bytes == text && answer->wasIncremental) ++served;
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(served, 18);
  // Late, but whole.
  std::string rest;
  for (auto chunk = stalled.awaitChunk("ANSWER"); chunk && !chunk->bytes.empty();
       chunk = stalled.awaitChunk("ANSWER")) {
    rest += chunk->bytes;
  }
  EXPECT_TRUE(rest == text);
}

TEST_F(SelectionServingTest, ARequesterThatStopsReadingIsGivenUp) {
  open({.requesterTimeout = milliseconds(50)});
  std::atomic<bool> gaveUp = false;
  const Log::Observation observation([&](const Log::Line& line) {
    if (line.message.find("stopped reading") != std::string::npos) gaveUp = true;
  });
  pasteboard_->clearContents();
  pasteboard_->setData(Bytes(std::string(1'000'000, 'x')), "text/html");
  publish();
  ScriptedRequester stalled;
  stalled.ask("text/html");
  ASSERT_EQ(stalled.awaitAnswer(), "ANSWER");
  EXPECT_TRUE(loop_.runUntil([&] { return gaveUp.load(); }));
  EXPECT_TRUE(requester_.convert("TIMESTAMP"));
}

TEST_F(SelectionServingTest, ATransferUnderWayOutlivesItsContent) {
  const auto large = largeText(3'000'000);
  publish(large);
  ScriptedRequester early, later;
  for (auto* each : {&early, &later}) beginTransfer(*each);
  publish("newer");
  EXPECT_EQ(early.read("ANSWER"), (Answer{"UTF8_STRING", large}));
  copyAndAwait(text("foreign"));
  EXPECT_EQ(later.read("ANSWER"), (Answer{"UTF8_STRING", large}));
}

TEST_F(SelectionServingTest, AWriteIsSeenWholeOrNotAtAllAndNeverComesBack) {
  publish("old");
  const auto count = pasteboard_->changeCount();
  pasteboard_->clearContents();
  EXPECT_EQ(pasteboard_->changeCount(), count + 1);
  EXPECT_TRUE(isServing("CLIPBOARD", "old"));
  pasteboard_->setString(Text("new"), plain);
  EXPECT_TRUE(isServing("CLIPBOARD", "old"));
  publish();
  // Added in another turn.
  pasteboard_->setData(Bytes("<b>"), "text/html");
  publish();
  ASSERT_TRUE(loop_.runUntil([&] { return requester_.convert("text/html").has_value(); }));
  copyAndAwait(text("foreign"));
  EXPECT_EQ(pasteboard_->changeCount(), count + 2);
}

TEST_F(SelectionServingTest, AFetchUnderWayIsDroppedByAWrite) {
  auto& owner = copyHolding(text("before"), "UTF8_STRING");
  const auto before = requester_.ownerOf("CLIPBOARD");
  write("ours");
  ASSERT_TRUE(loop_.runUntil([&] { return requester_.ownerOf("CLIPBOARD") != before; }));
  owner.release();
  awaitIdle(owner);
  EXPECT_EQ(owner.errors(), 0);
  copyAndAwait(text("after"));
  EXPECT_THAT(seen_, ElementsAre("after"));
}

// Whoever is the last by the server's word, that is what both sides have to end with.
TEST_F(SelectionServingTest, WritesAndCopiesInAnyOrderEndAtTheTruth) {
  std::minstd_rand random(7);
  std::vector<std::unique_ptr<ScriptedOwner>> others;
  for (const char* name : {"one", "two"}) {
    others.push_back(std::make_unique<ScriptedOwner>(text(name)));
  }
  int writes = 0;
  for (int round = 0; round < 150; ++round) {
    for (auto steps = random() % 5 + 1; steps > 0; --steps) {
      const auto step = random() % 4;
      if (step < 2) others[step]->take();
      if (step == 2) write("write " + std::to_string(++writes));
      if (step == 3) turn();
    }
    ASSERT_TRUE(loop_.runUntil([&] { return isServing("CLIPBOARD", currentText()); }))
        << "round " << round << ": " << currentText() << " here, "
        << testing::PrintToString(requester_.convert("UTF8_STRING")) << " there";
  }
}

// Every program may change the properties of every window, and send events to it.
TEST_F(SelectionServingTest, StrangeEventsDoNotPassForWritesOrCopies) {
  publish("first");
  const auto window = requester_.ownerOf("CLIPBOARD");
  xcb_property_notify_event_t event{};
  event.response_type = XCB_PROPERTY_NOTIFY;
  event.window = window;
  event.atom = requester_.atom("STOWBOARD_WRITE");
  xcb_send_event(requester_.xcb(), 0, window, XCB_EVENT_MASK_NO_EVENT,
                 reinterpret_cast<const char*>(&event));
  for (const std::uint32_t number : {0u, 1u, 2u, 77u}) {
    xcb_change_property(requester_.xcb(), XCB_PROP_MODE_APPEND, window, event.atom,
                        XCB_ATOM_CARDINAL, 32, 1, &number);
    xcb_delete_property(requester_.xcb(), window, event.atom);
  }
  EXPECT_TRUE(isServing("CLIPBOARD", "first"));
  publish("second");
  copyAndAwait(text("foreign"));
  EXPECT_EQ(currentText(), "foreign");
  publish("third");
}

TEST_F(SelectionServingTest, PrimaryIsOfferedOnRequestUntilAnotherTakesIt) {
  publish("clipboard only");
  EXPECT_EQ(requester_.ownerOf("PRIMARY"), XCB_NONE);
  write("both");
  pasteboard_->offerPrimary();
  publish();
  ASSERT_TRUE(loop_.runUntil([&] { return isServing("PRIMARY", "both"); }));
  publish("newer");
  EXPECT_TRUE(isServing("PRIMARY", "both"));
  ScriptedRequester other;
  other.own("PRIMARY");
  EXPECT_TRUE(isServing("CLIPBOARD", "newer"));
  EXPECT_EQ(requester_.ownerOf("PRIMARY"), other.window());
  pasteboard_->offerPrimary();
  ASSERT_TRUE(loop_.runUntil([&] { return requester_.ownerOf("PRIMARY") != other.window(); }));
  EXPECT_TRUE(isServing("PRIMARY", "newer"));
  EXPECT_TRUE(seen_.empty());
}

TEST_F(SelectionServingTest, WhatIsPublishedIsServedFromThatMomentOn) {
  for (int round = 0; round < 50; ++round) {
    const auto text = std::to_string(round);
    write(text);
    pasteboard_->offerPrimary();
    awaitPublished();
    ASSERT_TRUE(isServing("CLIPBOARD", text));
    ASSERT_TRUE(isServing("PRIMARY", text));
  }
}

TEST_F(SelectionServingTest, WhatIsDiscardedDoesNotOutliveItsProgram) {
  open({.settling = milliseconds(0)});
  pasteboard_->onMoved = [this] {
    seen_.push_back(currentText());
    if (seen_.back() == "excluded") pasteboard_->discard();
  };
  for (const char* copied : {"kept", "excluded"}) {
    copyAndAwait(text(copied));
    const auto owner = requester_.ownerOf("CLIPBOARD");
    owners_.clear();
    ASSERT_TRUE(loop_.runUntil([&] { return requester_.ownerOf("CLIPBOARD") != owner; }));
    // The thread has seen that, has handled it, and has done what was due.
    for (int turn = 0; turn < 3; ++turn) awaitPublished();
    EXPECT_EQ(requester_.convert("UTF8_STRING").has_value(), copied == std::string("kept"));
  }
}

TEST_F(SelectionServingTest, ContentOutlivesItsProgramWithoutAMove) {
  const auto jpeg = codec_.encodeJpeg({8, 8, std::vector<std::uint8_t>(8 * 8 * 4, 0x80)}, 0.7);
  const std::string file(jpeg->view());
  copyAndAwait(
      offering({{"image/jpeg", file}, {"text/richtext", "{\\rtf1}"}, {"STRING", "caf\xe9"}}));
  const auto count = pasteboard_->changeCount();
  owners_.clear();
  ASSERT_TRUE(loop_.runUntil([&] { return requester_.ownerOf("CLIPBOARD") != XCB_NONE; }));
  EXPECT_EQ(requester_.convert("image/jpeg"), (Answer{"image/jpeg", file}));
  EXPECT_TRUE(requester_.convert("image/png"));
  EXPECT_EQ(requester_.convert("text/richtext"), (Answer{"text/richtext", "{\\rtf1}"}));
  EXPECT_EQ(requester_.convert("UTF8_STRING"), (Answer{"UTF8_STRING", "café"}));
  EXPECT_EQ(pasteboard_->changeCount(), count);
  copyAndAwait(text("next"));
  EXPECT_EQ(currentText(), "next");
}

/// A session driven by the test itself, so that it knows when there is nothing left to do.
class DrivenSession {
 public:
  DrivenSession() {
    const Background atOnce = [](const auto& work, const auto& finish) { work(), finish(); };
    SelectionOptions options;
    options.limits.replyTimeout = milliseconds(100);
    options.limits.quarantine = options.settling = milliseconds(0);
    auto connection = X11Connection::open({});
    connection_ = connection.get();
    session_ = std::make_unique<SelectionSession>(
        std::move(connection), X11Connection::open({}), codec_, applications_, options,
        ClipboardBackgrounds{atOnce, atOnce},
        [this](const auto& copy, auto) { session_->keep(copy); });
  }

  void beginWrite() { session_->beginWrite(1); }
  void provide(const std::string& text) {
    const auto content = std::make_shared<ClipboardSnapshot>();
    content->text = Text(text);
    session_->provide(1, std::make_shared<ClipboardOffer>(content));
  }

  /// Until everything that has happened so far is dealt with.
  void settle() {
    for (bool isBusy = true; isBusy;) {
      const auto cookie = xcb_get_input_focus(connection_->xcb());
      std::free(xcb_get_input_focus_reply(connection_->xcb(), cookie, nullptr));
      isBusy = session_->deadline().has_value();
      if (isBusy && *session_->deadline() <= std::chrono::steady_clock::now()) session_->expire();
      while (session_->handleEvents()) isBusy = true;
    }
  }

 private:
  QtImageCodec codec_;
  NamedByClass applications_;
  X11Connection* connection_ = nullptr;
  std::unique_ptr<SelectionSession> session_;
};

TEST(SelectionTakeoverTest, OnlyWholeContentThatNobodyElseCaresForIsTakenOver) {
  enum class Then { ends, givesUp, isFollowed, endsBesideAManager };
  const auto copied = text("text");
  const struct {
    const char* name;
    OwnerScript script;
    Then then;
    bool isTaken;
  } rows[] = {
      {"an owner that ends", copied, Then::ends, true},
      {"an owner that gives the clipboard up", copied, Then::givesUp, false},
      {"an owner that is followed by another", copied, Then::isFollowed, false},
      {"a clipboard manager", copied, Then::endsBesideAManager, false},
      {"a secret", offering({{"UTF8_STRING", "pass"}, {"x-kde-passwordManagerHint", "x"}}),
       Then::ends, false},
      {"content that did not come", holding(text("never"), "UTF8_STRING"), Then::ends, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ScriptedRequester others;
    DrivenSession session;
    // A whole content before, which must not come up again.
    auto earlier = std::make_unique<ScriptedOwner>(text("earlier"));
    session.settle();
    auto owner = std::make_unique<ScriptedOwner>(row.script);
    session.settle();
    earlier.reset();
    if (row.then == Then::endsBesideAManager) others.own("CLIPBOARD_MANAGER");
    if (row.then == Then::givesUp) others.own("CLIPBOARD", false);
    owner.reset();
    if (row.then == Then::isFollowed) others.own("CLIPBOARD");
    while (row.then == Then::ends && others.ownerOf("CLIPBOARD") != XCB_NONE) {
    }
    session.settle();
    const auto holder = others.ownerOf("CLIPBOARD");
    EXPECT_EQ(holder != XCB_NONE && holder != others.window(), row.isTaken);
  }
}

TEST(SelectionSessionTest, AnOwnerThatEndsOrClearsUpBehindItselfDoesNotEndAWriteBegunBefore) {
  for (const bool clearsUp : {false, true}) {
    SCOPED_TRACE(clearsUp);
    ScriptedRequester other;
    DrivenSession session;
    auto owner = std::make_unique<ScriptedOwner>(text("before"));
    session.settle();
    session.beginWrite();
    session.settle();
    if (clearsUp) other.own("CLIPBOARD", false);
    owner.reset();
    while (other.ownerOf("CLIPBOARD") != XCB_NONE) {
    }
    session.settle();
    session.provide("ours");
    session.settle();
    EXPECT_NE(other.ownerOf("CLIPBOARD"), XCB_NONE);
  }
}

/// A clipboard manager: saves what it is asked to and takes the clipboard, as long as it lives.
class ScriptedManager {
 public:
  explicit ScriptedManager(bool answers = true) : answers_(answers) {
    client_.own("CLIPBOARD_MANAGER");
    thread_ = std::thread([this] { run(); });
  }
  ~ScriptedManager() { thread_.join(); }

  std::vector<std::string> targets;
  std::optional<Answer> text;
  std::atomic<bool> wasAsked = false;

 private:
  void run() {
    const auto request = client_.await<xcb_selection_request_event_t>(
        XCB_SELECTION_REQUEST, [](const auto&) { return true; });
    if (!request) return;
    wasAsked = true;
    if (!answers_) return;
    targets = client_.names(client_.convert("TARGETS")->bytes);
    text = client_.convert("UTF8_STRING");
    client_.own("CLIPBOARD");
    notify(client_.xcb(), *request, request->property);
    xcb_flush(client_.xcb());
  }

  const bool answers_;
  ScriptedRequester client_;
  std::thread thread_;
};

TEST_F(SelectionServingTest, WhatIsOursGoesToTheClipboardManagerInTheEnd) {
  const auto text = largeText(1'000'000);
  ScriptedManager manager;
  // The end comes in the very turn of the write.
  write(text);
  pasteboard_.reset();
  ASSERT_TRUE(manager.text);
  EXPECT_TRUE(manager.text->bytes == text);
  EXPECT_THAT(manager.targets, Contains("UTF8_STRING"));
  EXPECT_TRUE(seen_.empty());
}

TEST_F(SelectionServingTest, TheEndWaitsForNoManagerThatIsSilentOrNotConcerned) {
  // Without a manager, and then without content of ours.
  pasteboard_.reset();
  ScriptedManager silent(false);
  open({});
  pasteboard_.reset();
  EXPECT_FALSE(silent.wasAsked);
  open({.handOver = milliseconds(100)});
  publish("ours");
  pasteboard_.reset();
  EXPECT_TRUE(silent.wasAsked);
}

}  // namespace
}  // namespace stowboard
