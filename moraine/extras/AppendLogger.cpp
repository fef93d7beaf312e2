#include "moraine/extras/AppendLogger.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/internal/Paths.h"
#include "moraine/extras/Utf8.h"
#include "moraine/io/IOException.h"
#include "moraine/lang/IllegalStateException.h"

namespace moraine::extras {
namespace {

namespace fs = std::filesystem;
using std::chrono::system_clock;

/// What the base opens in place of the log, which it would cut.
#ifdef _WIN32
constexpr const WideChar* nowhere = u"NUL";
#else
constexpr const WideChar* nowhere = u"/dev/null";
#endif

constexpr long long secondsOfDay = 86400;

/// Seconds since 1970, rounded down.
long long secondsAt(system_clock::time_point moment) {
    return std::chrono::floor<std::chrono::seconds>(moment.time_since_epoch()).count();
}

/// "2026/11/18 07:35:22". The years count from March, so that the day that comes and goes is their last one.
std::string timeAt(long long seconds) {
    constexpr long long daysOfEra = 146097;                  // 400 years
    const long long days = seconds / secondsOfDay + 719468;  // since the first of March of the year 0
    const long long dayOfEra = days % daysOfEra;
    const long long year = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const long long dayOfYear = dayOfEra - (365 * year + year / 4 - year / 100);
    const long long month = (5 * dayOfYear + 2) / 153;  // from March
    std::string text;
    const auto put = [&text](long long number, std::size_t digits, const char* after) {
        const std::string all = std::to_string(number);
        text.append(digits - std::min(digits, all.size()), '0').append(all).append(after);
    };
    put(days / daysOfEra * 400 + year + (month >= 10 ? 1 : 0), 4, "/");
    put(month < 10 ? month + 3 : month - 9, 2, "/");
    put(dayOfYear - (153 * month + 2) / 5 + 1, 2, " ");
    put(seconds / 3600 % 24, 2, ":");
    put(seconds / 60 % 60, 2, ":");
    put(seconds % 60, 2, "");
    return text;
}

/// Whether the file was last written on another day than today.
bool isOfAnotherDay(const fs::path& path, long long now) {
    // The clock of files counts from a moment that is not known, so only the age can be had.
    const auto age = fs::file_time_type::clock::now() - fs::last_write_time(path);
    const auto written = system_clock::now() - std::chrono::duration_cast<system_clock::duration>(age);
    return secondsAt(written) / secondsOfDay != now / secondsOfDay;
}

fs::path numbered(const fs::path& path, unsigned int number) {
    fs::path result = path;
    result += "." + std::to_string(number);
    return result;
}

void rotate(const fs::path& path, unsigned int keep) {
    if (keep == 0) {
        fs::remove(path);
        return;
    }
    unsigned int free = 1;  // the first number that nothing has
    while (free < keep && fs::exists(numbered(path, free))) {
        ++free;
    }
    for (unsigned int to = free; to > 1; --to) {
        fs::rename(numbered(path, to - 1), numbered(path, to));
    }
    fs::rename(path, numbered(path, 1));
}

}  // namespace

AppendLogger::AppendLogger(const WideChar* path, Level threshold) : least(threshold) {
    ILogger::setOutputPath(nowhere);
    AppendLogger::setOutputPath(path);
}

AppendLogger::~AppendLogger() = default;

void AppendLogger::setThreshold(Level level) {
    least = level;
}

bool AppendLogger::isEnabled(Level level) const {
    return level >= least;
}

void AppendLogger::setRotation(const Rotation& rule) {
    rotation = rule;
}

void AppendLogger::write(Level level, std::string_view message) {
    if (!isEnabled(level)) {
        return;
    }
    constexpr const WideChar* names[] = {u"DEBUG ", u"INFO ", u"WARNING ", u"ERROR "};
    ILogger::write((names[static_cast<int>(level)] + fromUtf8(message)).c_str());
}

void AppendLogger::write(const WideChar* message) {
    ILogger::write((WideString(u"INFO ") + (message == nullptr ? u"" : message)).c_str());
}

void AppendLogger::debug(std::string_view message) {
    write(Level::debug, message);
}

void AppendLogger::info(std::string_view message) {
    write(Level::info, message);
}

void AppendLogger::warning(std::string_view message) {
    write(Level::warning, message);
}

void AppendLogger::error(std::string_view message) {
    write(Level::error, message);
}

void AppendLogger::setOutputPath(const WideChar* path) {
    file = path == nullptr ? nullptr : text::copyOf(path);
}

const WideChar* AppendLogger::getOutputPath() {
    return file.get();
}

const WideChar* AppendLogger::getClassName() const {
    return u"moraine::extras::AppendLogger";
}

void AppendLogger::doWriteLog(const WideChar* message) {
    if (!file) {
        raise<lang::IllegalStateException>(getClassName(), u"Output path is NULL.");
    }
    const fs::path path = pathOf(file.get(), getClassName());
    const long long now = secondsAt(system_clock::now());
    const std::string line = timeAt(now) + ' ' + toUtf8(message == nullptr ? std::u16string_view() : message) + "\r\n";
    bool good = false;
    try {
        std::error_code absent;
        const auto size = fs::file_size(path, absent);
        if (!absent && size > 0) {
            const bool full = rotation.size > 0 && size + line.size() > rotation.size;
            if (full || (rotation.daily && isOfAnotherDay(path, now))) {
                rotate(path, rotation.keep);
            }
        }
        std::ofstream log(path, std::ios::binary | std::ios::app);
        log.write(line.data(), static_cast<std::streamsize>(line.size()));
        log.close();
        good = !log.fail();
    } catch (const fs::filesystem_error&) {
        // As for what cannot be written.
    }
    if (!good) {
        raise<io::IOException>(getClassName(), words(u"The log could not be written. : ", file.get()));
    }
}

}  // namespace moraine::extras
