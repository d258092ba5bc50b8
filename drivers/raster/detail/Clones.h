#pragma once

// More versions of a pixel loop for newer vector units, one chosen when the library is loaded. For
// free functions that are no templates. The sanitizers' run-time libraries are not ready that
// early.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) &&                             \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define RASTER_CLONES __attribute__((target_clones("avx2", "sse4.2", "default")))
#else
#define RASTER_CLONES
#endif
