#pragma once

#include <array>
#include <string_view>

namespace moraine::text::url {

enum class Kind : unsigned char {
    other,       ///< is always written as an escape
    unreserved,  ///< stands for itself
    space,       ///< is written as "+"
    plus,        ///< stands for the space
    reserved,    ///< one of the other reserved characters: escaped when written, accepted when read
};

constexpr std::array<Kind, 128> makeKinds() {
    std::array<Kind, 128> kinds{};
    for (const char c : std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.!~*'()")) {
        kinds[static_cast<unsigned char>(c)] = Kind::unreserved;
    }
    for (const char c : std::string_view("$&,/:;=?@")) {
        kinds[static_cast<unsigned char>(c)] = Kind::reserved;
    }
    kinds[' '] = Kind::space;
    kinds['+'] = Kind::plus;
    return kinds;
}

inline constexpr std::array<Kind, 128> kinds = makeKinds();

/// What RFC 2396 says of a character, which is given as an unsigned value.
inline Kind kindOf(unsigned int character) noexcept {
    return character < kinds.size() ? kinds[character] : Kind::other;
}

}  // namespace moraine::text::url
