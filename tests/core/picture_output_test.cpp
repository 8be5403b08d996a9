// Picture output: composing the panels, the BMP bytes, and the save and print commands.
#include <filesystem>
#include <map>

#include "RecordingCanvas.h"
#include "StoreTestFiles.h"
#include "TrackBuilders.h"
#include "plot/Picture.h"

using Texts = std::vector<std::string>;

static void Fill(Bitmap& bitmap, TColor color) {
  for (int y = 0; y < bitmap.Height(); ++y)
    for (int x = 0; x < bitmap.Width(); ++x) bitmap.SetPixel(x, y, color);
}

static uint32_t Read32(const std::vector<uint8_t>& b, size_t at) {
  return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) | (uint32_t{b[at + 3]} << 24);
}

TEST(PictureOutput, ComposeTakesTheRightPanelsLeftHalfWidth) {
  RecordingFactoryScope factory;
  RecordingBitmap left(10, 6), right(10, 6), narrow(4, 6);
  Fill(left, 0x0000AA);
  Fill(right, 0x00BB00);
  Fill(narrow, 0x00BB00);
  for (int y = 0; y < 6; ++y) right.SetPixel(9, y, 0xCC0000);  // its last column

  // One row of a picture as letters: Left, Right, its End column, blacK, White.
  auto row = [](const std::unique_ptr<Bitmap>& picture, int y) {
    const std::map<TColor, char> letters = {
        {0x0000AA, 'L'}, {0x00BB00, 'R'}, {0xCC0000, 'E'}, {0, 'K'}, {0xFFFFFF, 'W'}};
    std::string text;
    for (int x = 0; picture && x < picture->Width(); ++x)
      text += letters.count(picture->Pixel(x, y)) ? letters.at(picture->Pixel(x, y)) : '?';
    return text;
  };
  // Odd client width 21: the right half is 11 columns drawn from 10 source columns; white
  // below the panels.
  std::unique_ptr<Bitmap> picture = ComposePanels(&left, &right, 21, 8);
  ASSERT_TRUE(picture && picture->Height() == 8);
  EXPECT_EQ(row(picture, 3), "LLLLLLLLLLRRRRRRRRRRE");
  EXPECT_EQ(row(picture, 7), std::string(21, 'W'));
  // A right panel narrower than half the width: the strip beyond it reads black.
  EXPECT_EQ(row(ComposePanels(&left, &narrow, 20, 6), 2), "LLLLLLLLLLRRRRKKKKKK");

  // No room, or no factory: no picture.
  EXPECT_EQ(ComposePanels(&left, &right, 20, 0), nullptr);
  SetBitmapFactory(nullptr);
  EXPECT_EQ(ComposePanels(&left, &right, 20, 6), nullptr);
}

TEST(PictureOutput, Bmp24BytesByHand) {
  RecordingBitmap bitmap(3, 2);
  bitmap.SetPixel(0, 0, 0x112233);  // top-left: B=0x11, G=0x22, R=0x33
  bitmap.SetPixel(2, 1, 0x445566);  // bottom-right
  const std::vector<uint8_t> b = EncodeBmp24(bitmap);
  // Rows of 9 bytes padded to 12, bottom row first.
  ASSERT_EQ(b.size(), 54u + 24u);
  EXPECT_EQ(std::string(b.begin(), b.begin() + 2), "BM");
  // File size, pixel offset, header size, width, height, planes | bits, compression, image size.
  EXPECT_EQ((std::vector<uint32_t>{Read32(b, 2), Read32(b, 10), Read32(b, 14), Read32(b, 18),
                                   Read32(b, 22), Read32(b, 26), Read32(b, 30), Read32(b, 34)}),
            (std::vector<uint32_t>{78, 54, 40, 3, 2, 1 | 24 << 16, 0, 24}));
  const std::vector<uint8_t> expected = {
      0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x44, 0x55, 0x66, 0, 0, 0,  // bottom row
      0x11, 0x22, 0x33, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0,  // top row
  };
  EXPECT_EQ(std::vector<uint8_t>(b.begin() + 54, b.end()), expected);

  RecordingBitmap empty(0, 5);
  EXPECT_TRUE(EncodeBmp24(empty).empty() && !WriteBmp24(bitmap, "/nonexistent-folder/x.bmp"));
}

TEST(PictureOutput, SaveAsBmpAndPrintTheComposedPicture) {
  struct ZoomRecordingPlatform : FakePlatform {
    std::vector<int> zooms, widths;
    void PrintBitmap(const Bitmap& picture, int zoom) override {
      FakePlatform::PrintBitmap(picture, zoom);
      zooms.push_back(zoom);
      widths.push_back(picture.Width());
    }
  };
  RecordingFactoryScope factory;
  ZoomRecordingPlatform platform;
  TMainForm form(platform);
  form.FormResize(1197, 623, 20);
  const std::string path = TempPath("picture-save.bmp");
  std::filesystem::remove(path);
  platform.saveAnswers.push_back(path);
  ASSERT_TRUE(form.RunCommand("SaveAsBMP"));
  ASSERT_EQ(platform.dialogs.size(), 1u);
  EXPECT_EQ(platform.dialogs[0].filter + "|" + platform.dialogs[0].defaultExt,
            "Bitmaps (*.bmp)|*.bmp|PNG pictures (*.png)|*.png|PDF documents (*.pdf)|*.pdf|"
            "SVG drawings (*.svg)|*.svg|bmp");
  EXPECT_TRUE(platform.dialogs[0].promptOverwrite);
  const std::string bytes = ReadFile(path);
  const std::vector<uint8_t> b(bytes.begin(), bytes.end());
  // 1197 x 603: rows of 3591 bytes padded to 3592.
  ASSERT_EQ(b.size(), 54u + 3592u * 603u);
  EXPECT_TRUE(Read32(b, 18) == 1197u && Read32(b, 22) == 603u);
  std::filesystem::remove(path);
  form.RunCommand("SaveAsBMP");  // cancelled: nothing written, nothing said
  EXPECT_TRUE(!std::filesystem::exists(path) && platform.messages.empty());
  platform.saveAnswers.push_back("/nonexistent-folder/x.bmp");
  form.RunCommand("SaveAsBMP");
  EXPECT_EQ(platform.messages, Texts{"Can not open file to write data"});

  form.RunCommand("PrintGraphs");  // print dialog cancelled
  EXPECT_EQ(platform.printed, 0);
  platform.printConfirm = true, form.S.PrintZoom = 3;
  form.RunCommand("PrintGraphs");
  EXPECT_TRUE(platform.zooms == std::vector<int>{3} && platform.widths == std::vector<int>{1197});
  platform.messages.clear();
  RecordingBitmap empty(0, 0);  // no device-independent form
  form.PrintBitmap(empty);
  EXPECT_TRUE(platform.messages == Texts{"Can not allocate print buffer"} && platform.printed == 1);

  // No bitmap can be made: each command's own message.
  platform.messages.clear();
  SetBitmapFactory(nullptr);
  form.RunCommand("SaveAsBMP");
  form.RunCommand("PrintGraphs");
  EXPECT_EQ(platform.messages, (Texts{"BMP eror", "BMP allocation ERROR"}));
}
