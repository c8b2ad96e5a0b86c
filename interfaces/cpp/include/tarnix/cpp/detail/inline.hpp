#pragma once
// The layer is compiled once, into a library of its own, or as part of every host that defines
// TARNIX_HEADER_ONLY. Everything that the public headers only declare is defined with this word.

#ifdef TARNIX_HEADER_ONLY
#define TARNIX_INLINE inline
#else
#define TARNIX_INLINE
#endif
