#ifndef PIXMORPH_KERNELS_INTRINSICS_H_
#define PIXMORPH_KERNELS_INTRINSICS_H_

// The compiler's own header leaves "undefined" vectors uninitialised, and the compiler then warns of them.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop

#endif  // PIXMORPH_KERNELS_INTRINSICS_H_
