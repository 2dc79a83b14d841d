#include "picture/locks.h"

#include "host/services.h"
#include "host/versions.h"

namespace pixmorph {

bool REALLockPictureDescriptionX(REALpictureStruct* picture, REALpictureDescription* description,
                                 std::int32_t kind) {
  if (!picture) return false;
  // A runtime may grant a lock without filling the description in; nothing of an earlier lock may be taken
  // for its answer.
  description->kind = 0;
  description->data = nullptr;
  if (HostTrue(REALLockPictureDescription(picture, description, kind))) return true;
  REALUnlockPictureDescriptionAfterFailure(picture);
  return false;
}

void REALUnlockPictureDescriptionAfterFailure(REALpictureStruct* picture) {
  if (picture && !RuntimeAtLeast(kVersionRefusedLockIsNoLock)) REALUnlockPictureDescription(picture);
}

void UnlockThePicture(PictureEditor*, REALpictureStruct* picture) {
  if (picture) REALUnlockPictureDescription(picture);
}

std::int32_t GetPictureLockCount(const REALpictureStruct* picture) {
  return picture ? reinterpret_cast<const std::int32_t*>(picture)[kPictureLockCountWord] : 0;
}

bool DescriptionLock::Acquire(REALpictureStruct* picture, REALpictureDescription* description,
                              std::int32_t kind) {
  if (!REALLockPictureDescriptionX(picture, description, kind)) return false;
  picture_ = picture;
  return true;
}

void DescriptionLock::Release() {
  REALpictureStruct* const picture = picture_;
  picture_ = nullptr;
  if (picture) REALUnlockPictureDescription(picture);
}

HostBitmap HostBitmap::Of(const REALpictureDescription& description) {
  HostBitmap bitmap;
  if (description.kind != kDescriptionHostBitmap || !description.data) return bitmap;
  const auto* words = static_cast<const std::uint32_t*>(description.data);
  if (words[kHostBitmapZeroWord] != 0 || words[kHostBitmapRowTableWord] == 0) return bitmap;
  bitmap.words_ = words;
  return bitmap;
}

std::uint8_t** HostBitmap::RowTable() const {
  return reinterpret_cast<std::uint8_t**>(words_[kHostBitmapRowTableWord]);
}

}  // namespace pixmorph
