// Zero-filled allocation of the working raster's buffers. Tests replace the
// allocator to drive the failure paths; the library itself always uses calloc.
#pragma once

#include <cstddef>

namespace rasteralloc {

typedef void* (*CallocFn)(size_t count, size_t size);

void* zeroed(size_t count, size_t size);
// Installs an allocator (null restores calloc) and returns the previous one.
CallocFn replaceForTesting(CallocFn fn);

}  // namespace rasteralloc
