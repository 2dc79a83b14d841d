#include "registration/picture_extension.h"

#include "effects/blur.h"
#include "effects/draw.h"
#include "host/versions.h"
#include "registration/flags.h"
#include "scaling/resample.h"
#include "scaling/scale.h"

namespace pixmorph {
namespace {

// In the order of registration.
constexpr const char* kDeclarations[] = {
    "DrawPictureFKTZ(pic as picture, x as double, y as double, alpha as double = 1.0, yield as integer = 0) "
    "as boolean",
    "ScaleKTZ(width as integer, height as integer, AntiAlias as boolean=false, YieldTicks as integer=0) "
    "as picture",
    "ScaleImageAndMaskKTZ(width as integer, height as integer, AntiAlias as boolean=false, "
    "YieldTicks as integer=0) as picture",
    "ScalingKTZ(mode as integer, width as integer, height as integer, yield as integer = 0) as picture",
    "BlurKTZ(Radius as double, yield as integer = 0) as picture",
};
constexpr int kMethodCount = sizeof kDeclarations / sizeof *kDeclarations;

REALmethodDefinition gPictureMethods[kMethodCount];
REALclassDefinition gPictureClass;

}  // namespace

REALclassDefinition* RenewPictureExtension() {
  void* const functions[kMethodCount] = {
      reinterpret_cast<void*>(&DrawPictureF),
      reinterpret_cast<void*>(&PictureResizeKTZ),
      reinterpret_cast<void*>(&PictureResizeImageAndMaskKTZ),
      reinterpret_cast<void*>(&PictureScalingKTZ),
      reinterpret_cast<void*>(&BlurKTZ),
  };
  for (int i = 0; i < kMethodCount; ++i)
    gPictureMethods[i] = {functions[i], nullptr, kDeclarations[i], kFlagConsole, 0, nullptr};

  gPictureClass = {};
  gPictureClass.version = kNewestControlVersion;
  gPictureClass.name = "Picture";
  gPictureClass.methods = gPictureMethods;
  gPictureClass.methodCount = kMethodCount;
  gPictureClass.flags = kFlagConsole;
  return &gPictureClass;
}

}  // namespace pixmorph
