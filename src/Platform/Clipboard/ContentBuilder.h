#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Clipboard/ClipboardSnapshot.h"
#include "Platform/Clipboard/TargetPolicy.h"
#include "Platform/Clipboard/TransferBuffer.h"

namespace stowboard {

/// The formats of one content as they came from its owner.
struct FetchedContent {
  struct EncodedText {
    std::string bytes;
    TextEncoding encoding = TextEncoding::utf8;
  };

  ClipboardNews news = ClipboardNews::content;
  /// Absent when the owner did not tell.
  std::optional<std::vector<std::string>> types;
  std::optional<EncodedText> text;
  std::optional<std::string> richText;
  std::optional<std::string> image;
  bool isTiff = false;
  /// The targets that the two came from, as the owner spells them.
  std::string richTextTarget;
  std::string imageTarget;
  /// Everything that was asked for has come.
  bool isWhole = false;
  /// Which copy it is, in the order of the copies.
  std::uint64_t copyNumber = 0;
  /// See Pasteboard::sources().
  std::optional<std::vector<std::string>> sources;

  /// What its bytes count against until a snapshot is made of them.
  std::shared_ptr<ByteShare> share;

  bool hasData() const { return text || richText || image; }
};

/// Puts one content together from its owner's answers: the best text, rich text and image on offer,
/// to be asked for one after the other. The small ones come first, so that an owner which ends
/// halfway costs as little as possible. An answer that proves unusable gives way to the next target
/// of its kind.
class ContentBuilder {
 public:
  /// Nothing is wanted without a plan.
  explicit ContentBuilder(const TargetPlan& plan = {});

  /// The target to ask for now; null when there is none left.
  const std::string* wanted() const;
  /// Whether that is a text, and the last way to have it.
  bool isLastText() const;
  /// The answer for it. `isUtf8`: the bytes are; `saysUtf8`: the owner has marked them so.
  void accept(std::string bytes, bool isUtf8, bool saysUtf8);
  /// There is no answer for it.
  void refuse() { candidates_.pop_front(); }

  /// The bytes that are held so far.
  std::size_t size() const { return size_; }
  /// What came. Ends the use of this.
  FetchedContent take();

 private:
  enum class Kind { text, richText, image };
  struct Candidate {
    Kind kind;
    std::string target;
  };

  bool use(const Candidate& candidate, std::string bytes, bool isUtf8, bool saysUtf8);
  bool useText(std::string bytes, TextEncoding encoding, bool isUtf8);
  bool useImage(const std::string& target, std::string bytes);

  std::deque<Candidate> candidates_;
  std::size_t size_ = 0;
  FetchedContent content_;
  // Text that broke its encoding, for the case that no better one comes.
  std::optional<std::string> brokenText_;
};

}  // namespace stowboard
