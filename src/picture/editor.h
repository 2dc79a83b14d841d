#ifndef PIXMORPH_PICTURE_EDITOR_H_
#define PIXMORPH_PICTURE_EDITOR_H_

#include <cstdint>

#include "host/types.h"
#include "picture/pixel_format.h"

namespace pixmorph {

class DescriptionLock;

// How the application shows pictures: found once per process, never reset. At most one becomes true.
extern bool IsDesktop;
extern bool IsConsole;

// Detects the run mode from the application classes that the runtime knows. [calls host]
void CheckApplication();

// Row-by-row access to the pixels of one picture, whatever the runtime's way of storing them. While set up it
// owns one reference to the picture, at most one lock of its description, and on the drawable path one
// pixbuf. Everything is given back by `clear`, by a failed set-up and by the destructor.
class PictureEditor {
 public:
  PictureEditor() = default;
  virtual ~PictureEditor();
  PictureEditor(const PictureEditor&) = delete;
  PictureEditor& operator=(const PictureEditor&) = delete;
  // Editors live on the stack; this keeps the C++ library's operator delete out of the plugin.
  static void operator delete(void*) {}

  // Releases everything the editor holds. [calls host]
  void clear();

  // Holds `newPicture` with a reference of its own instead of the picture held so far; nil holds nothing.
  // [calls host]
  void setPicture(REALpictureStruct* newPicture);

  // Sets the editor up on a picture. False leaves it cleared. [calls host]
  bool GetPictureEditor(REALpictureStruct* newPicture, signed char forReading, signed char forWritingToo);

  // For changing pixels in place. False, with the editor still set up, where only a copy can be had. [calls
  // host]
  bool GetPictureEditor(REALpictureStruct* newPicture);

  // The address of row `wanted` (never negative); of the first row for anything past the last one. Remembers
  // the index.
  std::uint8_t* GetRow(int wanted);

  // Moves `row` on by one; after the last row it is the first again.
  std::uint8_t* AddPixelRow();

  // Entries of the pixel type table for this editor's `pixelType`.
  std::int32_t GetBytesPerPixel() const;
  std::int32_t GetRedOffset() const;
  std::int32_t GetGreenOffset() const;
  std::int32_t GetBlueOffset() const;

  // Finishes a writer: its picture with one reference for the caller, or nil. Clears the editor. A buffer of
  // the writer's own is the runtime's from the moment it is handed over, whatever comes back. [calls host]
  [[nodiscard]] REALpictureStruct* RenderPictureWriter();

  // The kernels' view of `pixelType`.
  kernels::PixelLayout Layout() const { return LayoutOf(pixelType); }

  std::int32_t rowBytes = 0;   // bytes from one row to the next
  std::int32_t width = 0;      // pixels
  std::int32_t height = 0;     // pixels
  std::int32_t pixelSize = 0;  // bytes
  std::int32_t pixelType = 0;  // 8, 11, 14 or 15 once set up
  std::uint8_t* row = nullptr;
  REALpictureDescription description{};
  std::uint8_t* buffer = nullptr;  // a writer's own pixels, ours until handed to the runtime
  std::uint8_t* base = nullptr;    // first row
  std::int32_t rowIndex = 0;
  REALpictureStruct* picture = nullptr;  // one reference is ours
  void* pixbuf = nullptr;                // owned
  void* surface = nullptr;               // not owned
  std::uint8_t** rowTable = nullptr;     // the runtime's
  bool hasAlpha = false;
  bool forWriting = false;
  bool locked = false;

 protected:
  // A writer's switch to pixels of its own where the picture can only be reached as a copy: 3 bytes a pixel,
  // rows without padding, one row more than the picture has, all 0. Lets go of the picture. [calls host]
  bool NewPictureWriterLinux(int newWidth, int newHeight);

 private:
  // One way to the pixels: not granted by the runtime, granted but of no use, or ready.
  enum class Attempt { kRefused, kFailed, kReady };

  bool SetUp(REALpictureStruct* newPicture, bool mayCopy);
  Attempt SetUpDesktop(REALpictureStruct* newPicture, bool mayCopy);
  Attempt SetUpCairo(REALpictureStruct* newPicture);
  Attempt SetUpPixbuf(REALpictureStruct* newPicture);
  Attempt SetUpCopy(REALpictureStruct* newPicture);
  bool SetUpHostBitmap(REALpictureStruct* newPicture);
  bool UseSurface(void* target, REALpictureStruct* newPicture, DescriptionLock& lock);
  bool UseDrawable(void* drawable, REALpictureStruct* newPicture, DescriptionLock& lock);
  void Begin(REALpictureStruct* newPicture, DescriptionLock& lock, std::int32_t type);
  void StartAt(std::uint8_t* firstRow, std::int32_t newWidth, std::int32_t newHeight,
               std::int32_t newRowBytes);
  REALpictureStruct* BuildFromBuffer();
};

// Reads a source picture.
class PictureReader : public PictureEditor {
 public:
  ~PictureReader() override;
  // [calls host]
  bool GetPictureReader(REALpictureStruct* source) { return GetPictureEditor(source, 1, 0); }
};

// Builds a new picture. Every set-up gives true when the writer is ready with `row` at the first row, and
// lets go of what the writer held before. A picture that the runtime makes smaller than asked for is refused.
class PictureWriter : public PictureEditor {
 public:
  ~PictureWriter() override;
  // A new plain picture, sides 1 .. 32767. [calls host]
  bool NewPictureWriter(int newWidth, int newHeight);
  // A new picture with an alpha channel, sides 1 and up. [calls host]
  bool NewPictureWriterWithAlphaChannel(int newWidth, int newHeight);
  // Alpha channel or plain as the source has it, without fallback from the one to the other. [calls host]
  bool NewPictureWriter(const PictureReader& reader, int newWidth, int newHeight);
  // The same choice and the size of another editor. [calls host]
  bool NewPictureWriter(const PictureWriter& other);
  bool NewPictureWriter(const PictureReader& other);
  // With an alpha channel when the flag is set and one can be had, plain otherwise. [calls host]
  bool NewPictureWriter(int newWidth, int newHeight, signed char alpha);
  // Writes into an existing picture that is large enough and can be reached, else into a new one. Spans the
  // whole existing picture. [calls host]
  bool NewPictureWriter(REALpictureStruct* existing, int newWidth, int newHeight);

  using PictureEditor::NewPictureWriterLinux;

 private:
  // Into a picture just made, nil if it could not be; its creation reference stays with the caller.
  bool WriteInto(REALpictureStruct* made, int newWidth, int newHeight);
  // Sets up on a picture unless it turns out smaller than asked for.
  bool Reach(REALpictureStruct* target, int newWidth, int newHeight);
  // To a buffer of its own if only a copy of the picture was reached: what is written there would be lost.
  bool LeaveCopy(int newWidth, int newHeight);
};

}  // namespace pixmorph

#endif  // PIXMORPH_PICTURE_EDITOR_H_
