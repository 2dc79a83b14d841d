#ifndef PIXMORPH_KERNELS_INTRINSICS_H_
#define PIXMORPH_KERNELS_INTRINSICS_H_

// gcc's own header leaves "undefined" vectors uninitialised, and gcc then warns of them; clang does neither.
#pragma GCC diagnostic push
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#pragma GCC diagnostic pop

#endif  // PIXMORPH_KERNELS_INTRINSICS_H_
