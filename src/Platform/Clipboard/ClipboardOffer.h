#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Clipboard/ClipboardSnapshot.h"

namespace stowboard {

/// A content as other programs are offered it: the targets that it can be converted into, and what
/// each conversion gives. Belongs to the thread that serves it, and to a std::shared_ptr.
class ClipboardOffer : public std::enable_shared_from_this<ClipboardOffer> {
 public:
  struct Conversion {
    /// The name of the type that the answer is marked with.
    std::string type;
    Bytes content;
  };

  explicit ClipboardOffer(std::shared_ptr<const ClipboardSnapshot> snapshot)
      : snapshot_(std::move(snapshot)) {}

  /// Those that carry content, the richest first. A text is only offered in an encoding that holds
  /// all of it.
  const std::vector<std::string>& targets();
  bool offers(std::string_view target);

  /// True when converting into the target is but a matter of handing out what is there, or when the
  /// target was prepared.
  bool isAtHand(std::string_view target) const;
  /// Converts in the background, since encoding an image or a long text takes its time; then calls
  /// `done`. Without effect while that is under way already.
  void prepare(const std::string& target, const Background& background, std::function<void()> done);
  /// Absent when the target is not offered or its encoder fails.
  std::optional<Conversion> conversion(std::string_view target) const;

 private:
  // On any thread.
  std::optional<Conversion> convert(std::string_view target) const;
  std::vector<std::string> findTargets() const;
  std::optional<Conversion> convertText(std::string_view target) const;
  const Bytes* shared(std::string_view target) const;

  const std::shared_ptr<const ClipboardSnapshot> snapshot_;
  std::optional<std::vector<std::string>> targets_;
  std::set<std::string> underWay_;
  std::map<std::string, std::optional<Conversion>, std::less<>> prepared_;
};

}  // namespace stowboard
