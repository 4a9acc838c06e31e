#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Base/Bytes.h"
#include "Base/Unicode/Text.h"
#include "Platform/Image.h"

namespace stowboard {

/// The identifiers of the content types that Stowboard reads and writes. They are MIME types; an
/// adapter maps its system's own names to them.
struct PasteboardType {
  PasteboardType() = delete;

  static constexpr std::string_view tiff = "image/tiff";
  static constexpr std::string_view png = "image/png";
  static constexpr std::string_view rtf = "text/rtf";
  static constexpr std::string_view string = "text/plain";
};

/// The desktop's general clipboard, as the main thread sees it: a finished picture of its newest
/// content, so that no operation here waits for another program. All operations are the main
/// thread's.
class Pasteboard {
 public:
  /// Gives content of ours to the desktop's own keeper of clipboards, where there is one, so that
  /// it outlives this program. Waits for that, about a second at most.
  virtual ~Pasteboard() = default;

  /// Raised with every change of content, other programs' and our own; it never goes back.
  /// Content that its owner marks as a secret, the loss of content by its owner's exit, and a
  /// program's emptying the clipboard, do not move it.
  virtual std::int64_t changeCount() const = 0;

  /// The types on offer, those of PasteboardType that can be had first, then the owner's other
  /// names as it gave them; absent when the owner did not say.
  virtual std::optional<std::vector<std::string>> types() const = 0;

  /// The content as bytes of the given type, or absent when that type was not offered or could not
  /// be had. For PasteboardType::png the bytes may be of another image format when neither PNG nor
  /// TIFF was on offer; the image decoder looks at the bytes, not at the name.
  virtual std::optional<Bytes> data(std::string_view type) const = 0;

  /// The content as text, for PasteboardType::string; absent as for data().
  virtual std::optional<Text> string(std::string_view type) const = 0;

  /// The ids of the applications that the content came from, as of the moment of the copy: the one
  /// in front, and the one that the owner belongs to, as far as each is known. Absent when the
  /// system cannot tell who is in front.
  virtual std::optional<std::vector<std::string>> sources() const = 0;
  /// Drops the content, which is not to be kept: it cannot be read any more, and is not offered in
  /// its program's place when that ends. The change count stays. To be called by onMoved's handler.
  virtual void discard() = 0;

  /// What is to be expected of reread().
  enum class Rereading {
    /// Nothing: it was not called for this content, or what came is in place.
    ended,
    underWay,
    /// Nothing ever: the owner has ended or was replaced.
    inVain,
  };
  /// Asks the content's owner for it anew, since an owner may refuse once, or be late once. What
  /// comes takes the content's place some time later, without a move of the change count.
  virtual void reread() = 0;
  /// For the present content.
  virtual Rereading rereading() const = 0;

  /// Empties the pasteboard and makes it ours: the change count has moved when this returns, and
  /// what is written next in this turn of the main loop goes out together with it. Other programs
  /// see the old content or the whole new one, never a part. Should another program copy meanwhile,
  /// the later of the two counts, as the system has it.
  virtual void clearContents() = 0;

  /// The operations below add to the content begun by clearContents(): from now on data() and
  /// string() answer with it. They do nothing once another program's copy has replaced it.
  virtual void setString(const Text& text, std::string_view type) = 0;
  virtual void setData(const Bytes& data, std::string_view type) = 0;
  /// Adds every representation that the image supplies; other programs have the one that they ask
  /// for encoded then.
  virtual void writeImage(std::shared_ptr<const Image> image) = 0;

  /// True when onMoved is called for every move of the change count, so that nobody needs to poll.
  virtual bool announcesMoves() const = 0;

  /// Called on the main thread right after the change count moved by another program's copy.
  std::function<void()> onMoved;
};

}  // namespace stowboard
