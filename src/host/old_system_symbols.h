#ifndef PIXMORPH_HOST_OLD_SYSTEM_SYMBOLS_H_
#define PIXMORPH_HOST_OLD_SYSTEM_SYMBOLS_H_

// Binds to the oldest versions of the symbols that moved between system libraries, so that the plugin loads
// on systems older than the one it was built on. Included by every file that uses one of them. A sanitizer
// puts its own functions in the place of these, which a version would keep it from.
#if defined(__i386__) && !defined(__SANITIZE_ADDRESS__)
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PIXMORPH_SANITIZED 1
#endif
#endif
#if !defined(PIXMORPH_SANITIZED)
__asm__(".symver dlopen,dlopen@GLIBC_2.1");
__asm__(".symver dlsym,dlsym@GLIBC_2.0");
__asm__(".symver clock_gettime,clock_gettime@GLIBC_2.2");
#endif
#endif

#endif  // PIXMORPH_HOST_OLD_SYSTEM_SYMBOLS_H_
