#include "raster/RasterAlloc.h"

#include <atomic>
#include <cstdlib>

namespace rasteralloc {

namespace {
void* systemCalloc(size_t count, size_t size) {
    return calloc(count, size);
}
std::atomic<CallocFn> g_fn{&systemCalloc};
}  // namespace

void* zeroed(size_t count, size_t size) {
    return g_fn.load()(count, size);
}

CallocFn replaceForTesting(CallocFn fn) {
    return g_fn.exchange(fn ? fn : &systemCalloc);
}

}  // namespace rasteralloc
