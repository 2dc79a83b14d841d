#ifndef PIXMORPH_BENCH_CONTENT_H_
#define PIXMORPH_BENCH_CONTENT_H_

#include <cstdint>
#include <vector>

namespace bench {

// What a picture shows. Kernels that look again at values beside a rounding boundary may be slower for some.
enum class Content {
  kPhotograph,  // gradients with a little noise in every channel: neither flat nor random
  kNoise,
  kFlat,
  kScreen,  // panels of flat colours with something like text in two tones
  kChecks,  // black and white: edges that lie symmetric to many pixels of the result
};
constexpr int kContentCount = 5;

// As tables and files call it.
const char* NameOf(Content content);

// Fills width x height 32-bit pixels; top bytes are 0.
void FillPicture(std::uint32_t* pixels, int width, int height, Content content, std::uint32_t seed);

// 32-bit BGRx pixels, rows contiguous, every page touched.
struct Bitmap {
  int width = 0, height = 0;
  std::vector<std::uint32_t> pixels;
  Bitmap(int w, int h, std::uint32_t seed, Content content = Content::kPhotograph);
  int StrideBytes() const { return width * 4; }
};

}  // namespace bench

#endif  // PIXMORPH_BENCH_CONTENT_H_
