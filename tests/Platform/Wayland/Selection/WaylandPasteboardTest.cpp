#include "Platform/Wayland/Selection/WaylandPasteboard.h"

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Qt/QtImageCodec.h"
#include "Platform/QueueingRunLoop.h"
#include "Platform/Wayland/Selection/WaylandOwner.h"
#include "contract/PasteboardContract.h"

namespace stowboard {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::Optional;

const std::string utf8 = "text/plain;charset=utf-8";
const std::string secretMark = "x-kde-passwordManagerHint";

struct NoApplications final : ApplicationIdentifying {
  std::optional<std::string> applicationId(const WindowTraits&) const override {
    return std::nullopt;
  }
  bool isTerminal(const std::string&) const override { return false; }
};

/// A pasteboard, its main loop, and the programs that copy.
class Rig {
 public:
  Rig() { open({}); }

  void open(const DataControlOptions& options) {
    pasteboard_.reset();
    pasteboard_ = WaylandPasteboard::create(loop_, codec_, applications_, options);
    ASSERT_TRUE(pasteboard_) << "these tests need a compositor with data control";
    pasteboard_->onMoved = [this] { seen_.push_back(currentText()); };
  }

  WaylandOwner& copy(WaylandOffer offer) {
    owners_.push_back(std::make_unique<WaylandOwner>(std::move(offer)));
    return *owners_.back();
  }
  WaylandOwner& copy(const std::string& text) { return copy({{{utf8, text}}}); }
  void awaitMoves(std::size_t count) {
    ASSERT_TRUE(loop_.runUntil([&] { return seen_.size() >= count; }))
        << "only " << seen_.size() << " of " << count << " moves came";
  }
  void copyAndAwait(WaylandOffer offer) {
    const auto before = seen_.size();
    copy(std::move(offer));
    awaitMoves(before + 1);
  }
  void write(const std::string& text) {
    pasteboard_->clearContents();
    pasteboard_->setString(Text(text), PasteboardType::string);
    awaitPublished();
  }
  void awaitPublished() {
    std::atomic<bool> isPublished = false;
    pasteboard_->whenPublished([&] { isPublished = true; });
    ASSERT_TRUE(loop_.runUntil([&] { return isPublished.load(); }));
  }
  std::string currentText() const {
    return std::string(pasteboard_->string(PasteboardType::string).value_or(Text("<none>")).view());
  }

  QueueingRunLoop loop_;
  QtImageCodec codec_;
  NoApplications applications_;
  // The text of each content announced.
  std::vector<std::string> seen_;
  std::unique_ptr<WaylandPasteboard> pasteboard_;
  std::vector<std::unique_ptr<WaylandOwner>> owners_;
};

/// What another program reads from the clipboard.
class Reader {
 public:
  Reader() { connection_->roundTrip(); }

  /// The content as it is now; absent when the type is not offered.
  std::optional<std::string> read(const std::string& type) {
    connection_->roundTrip();
    if (!offer_ || std::ranges::count(offer_->types(), type) == 0) return std::nullopt;
    const auto pipe = offer_->receive(type);
    connection_->roundTrip();
    std::string content;
    std::array<char, 65536> piece{};
    for (ssize_t count = -1; count != 0;) {
      pollfd readable{pipe.number(), POLLIN, 0};
      poll(&readable, 1, 10'000);
      count = ::read(pipe.number(), piece.data(), piece.size());
      if (count > 0) content.append(piece.data(), static_cast<std::size_t>(count));
    }
    return content;
  }
  /// Asks, and never reads the answer.
  FileDescriptor hang(const std::string& type) {
    connection_->roundTrip();
    auto pipe = offer_->receive(type);
    connection_->roundTrip();
    return pipe;
  }

 private:
  std::unique_ptr<WaylandConnection> connection_ = WaylandConnection::open({});
  std::shared_ptr<const DataOffer> offer_;
  DataControl control_{*connection_, [this](const auto& offer) { offer_ = offer; }};
};

class WaylandPasteboardTest : public testing::Test, protected Rig {};

std::string largeText(std::size_t size) {
  std::string text;
  while (text.size() < size) text += "line → " + std::to_string(text.size()) + "\n";
  return text;
}

TEST_F(WaylandPasteboardTest, TextComesFromTheMostTrustedUsableType) {
  const struct {
    const char* name;
    WaylandOffer offer;
    std::string expected;
  } rows[] = {
      {"UTF-8 first", {{{"STRING", "latin"}, {utf8, "é→"}}}, "é→"},
      {"a type that gives nothing", {{{"UTF8_STRING", ""}, {utf8, "text"}}}, "text"},
      {"no type gives anything", {{{"UTF8_STRING", ""}, {utf8, ""}}}, ""},
      {"broken UTF-8 gives way", {{{utf8, "caf\xe9"}, {"STRING", "caf\xe9"}}}, "café"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    copyAndAwait(row.offer);
    EXPECT_EQ(seen_.back(), row.expected);
  }
}

TEST_F(WaylandPasteboardTest, ASecretIsKnownAlsoWhenItComesBackWithoutItsMark) {
  copy({{{utf8, "pass"}, {secretMark, "secret"}}});
  copyAndAwait({{{utf8, "one"}}});
  copy({{{utf8, "pass"}, {secretMark, "secret"}}});
  copy("pass");
  copyAndAwait({{{utf8, "two"}}});
  EXPECT_THAT(seen_, ElementsAre("one", "two"));
}

TEST_F(WaylandPasteboardTest, LargeContentArrivesWholeAndIsServedWhole) {
  const auto large = largeText(10'000'000);
  copyAndAwait({{{utf8, large}}});
  EXPECT_TRUE(seen_.back() == large);
  write(large);
  Reader reader;
  EXPECT_TRUE(reader.read(utf8) == large);
  EXPECT_EQ(reader.read("image/png"), std::nullopt);
}

TEST_F(WaylandPasteboardTest, AHangingRequesterDelaysNobody) {
  write(largeText(1'000'000));
  Reader reader;
  const auto hanging = reader.hang(utf8);
  EXPECT_EQ(reader.read(utf8)->size(), currentText().size());
  copyAndAwait({{{utf8, "next"}}});
}

TEST_F(WaylandPasteboardTest, AHangingOwnerDelaysNobodyAndIsGivenUpInTime) {
  const auto& hanging = copy({{{utf8, "text"}, {"text/rtf", "{\\rtf1}"}}, "text/rtf"});
  ASSERT_TRUE(loop_.runUntil([&] { return hanging.isHolding(); }));
  copyAndAwait({{{utf8, "next"}}});
  awaitMoves(2);
  EXPECT_THAT(seen_, ElementsAre("text", "next"));
  DataControlOptions options;
  options.limits.replyTimeout = milliseconds(200);
  open(options);
  // Half a content, where nothing better comes.
  copyAndAwait({{{utf8, "slow"}, {"text/rtf", "{\\rtf1}"}}, "text/rtf"});
  EXPECT_EQ(seen_.back(), "slow");
  EXPECT_EQ(pasteboard_->data(PasteboardType::rtf), std::nullopt);
}

TEST_F(WaylandPasteboardTest, OfAnOwnerThatEndsHalfwayOnlyWhatIsWholeCounts) {
  const auto& owner = copy({{{utf8, largeText(1'000'000)}}, {}, utf8});
  ASSERT_TRUE(loop_.runUntil([&] { return owner.hasEnded(); }));
  copy("next");
  awaitMoves(1);
  EXPECT_THAT(seen_, ElementsAre("next"));
}

TEST_F(WaylandPasteboardTest, CopiesInQuickSuccessionAllArriveInOrder) {
  std::vector<std::string> expected;
  for (int number = 0; number < 50; ++number) {
    expected.push_back("copy " + std::to_string(number));
    copy(expected.back());
  }
  awaitMoves(1);
  ASSERT_TRUE(loop_.runUntil([&] { return seen_.back() == expected.back(); }));
  // One that was replaced before it could be asked may be missing; none comes out of its turn.
  EXPECT_TRUE(std::ranges::includes(
      expected, seen_, {}, [](const auto& text) { return std::stoi(text.substr(5)); },
      [](const auto& text) { return std::stoi(text.substr(5)); }));
}

TEST_F(WaylandPasteboardTest, TheLastCopyIsOfferedWhenItsProgramHasEnded) {
  copyAndAwait({{{utf8, "kept"}}});
  owners_.clear();
  Reader reader;
  ASSERT_TRUE(loop_.runUntil([&] { return reader.read(utf8) == "kept"; }));
  EXPECT_EQ(seen_.size(), 1u);
  copyAndAwait({{{utf8, "next"}}});
  EXPECT_EQ(currentText(), "next");
}

TEST_F(WaylandPasteboardTest, TheLaterOfAWriteAndACopyCounts) {
  copyAndAwait({{{utf8, "before"}}});
  write("ours");
  EXPECT_EQ(Reader().read(utf8), "ours");
  copyAndAwait({{{utf8, "after"}}});
  EXPECT_EQ(Reader().read(utf8), "after");
  EXPECT_THAT(seen_, ElementsAre("before", "after"));
}

class WaylandDriver : Rig {
 public:
  Pasteboard& pasteboard() { return *pasteboard_; }

  void copy(std::map<std::string, std::string, std::less<>> content) {
    WaylandOffer offer;
    for (auto& [type, bytes] : content) {
      offer.formats.emplace_back(type == PasteboardType::string ? utf8 : type, bytes);
    }
    // Of two that take the clipboard the compositor hears the later one, whoever began first.
    awaitPublished();
    // Not by the moves that are announced: the test may be listening.
    const auto before = pasteboard_->changeCount();
    Rig::copy(std::move(offer));
    EXPECT_TRUE(loop_.runUntil([&] { return pasteboard_->changeCount() > before; }));
  }
  void endOwner() { owners_.clear(); }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Wayland, PasteboardContract, WaylandDriver);

}  // namespace
}  // namespace stowboard
