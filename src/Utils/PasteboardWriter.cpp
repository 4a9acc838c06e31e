#include "Utils/PasteboardWriter.h"

namespace stowboard {

void PasteboardWriter::write(const ClipItem& clip, Pasteboard& pasteboard, ImageCodec& codec) {
  pasteboard.clearContents();
  switch (clip.type()) {
    case ClipType::text:
      pasteboard.setString(clip.textContent().value_or(Text()), PasteboardType::string);
      break;
    case ClipType::rtf:
      if (clip.rtfData()) pasteboard.setData(*clip.rtfData(), PasteboardType::rtf);
      if (clip.textContent()) pasteboard.setString(*clip.textContent(), PasteboardType::string);
      break;
    case ClipType::image:
      if (!clip.imageData()) break;
      if (auto image = codec.decode(*clip.imageData())) pasteboard.writeImage(std::move(image));
      break;
  }
}

}  // namespace stowboard
