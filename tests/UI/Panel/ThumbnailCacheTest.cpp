#include "UI/Panel/ThumbnailCache.h"

#include <gmock/gmock.h>

#include <QBuffer>
#include <QImage>

#include "Platform/QtTurns.h"
#include "fakes/Clips.h"

namespace stowboard {
namespace {

using State = ThumbnailCache::Thumbnail::State;

std::string encoded(int width, int height, const char* format = "jpeg") {
  QImage image(width, height, QImage::Format_RGB32);
  image.fill(Qt::red);
  QBuffer buffer;
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, format);
  return buffer.data().toStdString();
}

class ThumbnailCacheTest : public ::testing::Test {
 protected:
  ThumbnailCacheTest() {
    cache_.onDidLoad = [this] { ++loaded_; };
  }
  ThumbnailCache::Thumbnail load(const ClipItem& clip, qreal ratio = 1) {
    const int before = loaded_;
    const bool isLoading = cache_.thumbnail(clip, ratio).state == State::loading;
    EXPECT_TRUE(turnQtUntil([&] { return !isLoading || loaded_ > before; }));
    return cache_.thumbnail(clip, ratio);
  }
  static QRect painted(const QImage& image) {
    QRect rect;
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x)
        if (image.pixelColor(x, y).alpha() > 128) rect |= QRect(x, y, 1, 1);
    return rect;
  }

  int loaded_ = 0;
  // Three at the ratio of 2, the densest here.
  ThumbnailCache cache_{3 * 56 * 56 * 4};
};

TEST_F(ThumbnailCacheTest, FitsAPictureIntoTheMiddleWithRoundedCorners) {
  struct {
    int width, height;
    qreal ratio;
    QRect expected;
  } rows[] = {{300, 150, 1, {0, 7, 28, 14}},
              {100, 300, 2, {19, 0, 18, 56}},
              {5, 5, 1.25, {0, 0, 35, 35}},
              {2000, 1, 1, {0, 13, 28, 1}}};
  for (const auto& row : rows) {
    const auto thumbnail = load(imageClip(encoded(row.width, row.height)), row.ratio);
    ASSERT_EQ(thumbnail.state, State::ready);
    EXPECT_EQ(thumbnail.pixmap.devicePixelRatio(), row.ratio);
    EXPECT_EQ(painted(thumbnail.pixmap.toImage()), row.expected) << row.width;
  }
  const QImage square = load(imageClip(encoded(300, 300))).pixmap.toImage();
  EXPECT_EQ(square.pixelColor(0, 0).alpha(), 0);
  EXPECT_EQ(square.pixelColor(4, 4).alpha(), 255);
}

TEST_F(ThumbnailCacheTest, RefusesWhatIsNoPictureOrTooLargeAOne) {
  const std::string vector =
      R"(<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"><path d="M0 0h9"/></svg>)";
  for (const std::string& data :
       {std::string(), std::string("nonsense"), vector, encoded(2049, 2048, "png")}) {
    EXPECT_EQ(load(imageClip(data)).state, State::undecodable);
  }
}

TEST_F(ThumbnailCacheTest, DecodesOnceAndForgetsTheOldest) {
  std::vector<ClipItem> clips;
  for (int index = 0; index < 4; ++index) clips.push_back(imageClip(encoded(30, 30)));
  for (const ClipItem& clip : clips) cache_.prepare(clip, 2);
  EXPECT_TRUE(turnQtUntil([&] { return loaded_ == 3; }));
  EXPECT_EQ(cache_.thumbnail(clips[0], 2).state, State::ready);
  load(clips[3], 2);
  EXPECT_EQ(loaded_, 4) << "it was not prepared: there was no room";
  EXPECT_EQ(cache_.thumbnail(clips[0], 2).state, State::ready) << "looked at after the others";
  EXPECT_EQ(cache_.thumbnail(clips[1], 2).state, State::loading);
}

TEST_F(ThumbnailCacheTest, KeepsNothingOfAClipThatIsGone) {
  const ClipItem kept = imageClip(encoded(30, 30));
  const ClipItem gone = imageClip(encoded(30, 30));
  const ClipItem goneWhileLoading = imageClip(encoded(30, 30));
  load(kept);
  load(gone);
  cache_.prepare(goneWhileLoading, 1);
  cache_.keepOnly({kept.id()});
  load(imageClip(encoded(30, 30)));
  EXPECT_EQ(cache_.thumbnail(kept, 1).state, State::ready);
  EXPECT_EQ(cache_.thumbnail(gone, 1).state, State::loading);
  EXPECT_EQ(cache_.thumbnail(goneWhileLoading, 1).state, State::loading);
}

TEST_F(ThumbnailCacheTest, AnotherDensityDecodesAnew) {
  const ClipItem clip = imageClip(encoded(30, 30));
  cache_.prepare(clip, 1);
  EXPECT_EQ(load(clip, 2).pixmap.width(), 56) << "what was under way is dropped";
}

}  // namespace
}  // namespace stowboard
