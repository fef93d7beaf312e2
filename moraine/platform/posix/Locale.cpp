#include "moraine/platform/Locale.h"

#include <climits>
#include <clocale>
#include <cstring>
#include <cwchar>
#include <cwctype>

namespace moraine::platform {
namespace {

WideChar fitting(std::wint_t converted, WideChar unit) noexcept {
    return converted <= 0xFFFF ? static_cast<WideChar>(converted) : unit;
}

}  // namespace

bool isDefaultLocale() noexcept {
    // A thread may have a locale of its own.
    return ::uselocale(nullptr) == LC_GLOBAL_LOCALE && std::strcmp(std::setlocale(LC_CTYPE, nullptr), "C") == 0;
}

WideChar toUpper(WideChar unit) noexcept {
    return fitting(std::towupper(unit), unit);
}

WideChar toLower(WideChar unit) noexcept {
    return fitting(std::towlower(unit), unit);
}

bool isDigit(WideChar unit) noexcept {
    return std::iswdigit(unit) != 0;
}

int collate(WideChar left, WideChar right) noexcept {
    const wchar_t leftText[] = {static_cast<wchar_t>(left), 0};
    const wchar_t rightText[] = {static_cast<wchar_t>(right), 0};
    return std::wcscoll(leftText, rightText);
}

void toMultibyte(const WideChar* text, std::size_t length, char* target, std::size_t limit) noexcept {
    std::mbstate_t state{};
    char form[MB_LEN_MAX];
    for (std::size_t used = 0; length > 0 && *text != 0; ++text, --length) {
        const std::size_t size = std::wcrtomb(form, static_cast<wchar_t>(*text), &state);
        if (size == static_cast<std::size_t>(-1) || size > limit - used) {
            return;
        }
        std::memcpy(target + used, form, size);
        used += size;
    }
}

void fromMultibyte(const char* bytes, std::size_t length, WideChar* target) noexcept {
    std::mbstate_t state{};
    while (length > 0) {
        wchar_t character = 0;
        const std::size_t size = std::mbrtowc(&character, bytes, length, &state);
        // Zero is the terminator; the failure values are larger than any length.
        if (size == 0 || size > length || static_cast<unsigned long>(character) > 0xFFFF) {
            return;
        }
        *target++ = static_cast<WideChar>(character);
        bytes += size;
        length -= size;
    }
}

}  // namespace moraine::platform
