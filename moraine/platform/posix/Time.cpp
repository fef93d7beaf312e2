#include "moraine/platform/Time.h"

#include <ctime>

namespace moraine::platform {

std::int64_t now() noexcept {
    return std::time(nullptr);
}

DateTime universalTime(std::int64_t seconds) noexcept {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec};
}

}  // namespace moraine::platform
