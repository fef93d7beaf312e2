#include <cstdint>

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    moraine::fuzz::check(moraine::fuzz::Input({reinterpret_cast<const char*>(bytes), size}));
    return 0;
}
