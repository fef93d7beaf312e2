#include <malloc.h>

#include <cstdlib>

long heldBytes = 0;
long peakBytes = 0;

namespace {

void* counted(void* made) {
    heldBytes += static_cast<long>(malloc_usable_size(made));
    peakBytes = heldBytes > peakBytes ? heldBytes : peakBytes;
    return made;
}

}  // namespace

// In the place of the C library's own, also for the shared library.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t number, std::size_t size);
void* __libc_realloc(void* old, std::size_t size);
void __libc_free(void* old);

void* malloc(std::size_t size) {
    return counted(__libc_malloc(size));
}

void* calloc(std::size_t number, std::size_t size) {
    return counted(__libc_calloc(number, size));
}

void* realloc(void* old, std::size_t size) {
    heldBytes -= static_cast<long>(malloc_usable_size(old));
    return counted(__libc_realloc(old, size));
}

void free(void* old) {
    heldBytes -= static_cast<long>(malloc_usable_size(old));
    __libc_free(old);
}
}
