#pragma once

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "moraine/lang/Exception.h"
#include "moraine/text/WideChar.h"

namespace moraine::fuzz {

/// Draws decisions and data from bytes. After their end every decision is 0 and all data are empty.
class Input {
public:
    explicit Input(std::string_view bytes) : rest(bytes) {}

    bool isEmpty() const { return rest.empty(); }

    /// A number below @p limit, which is at most 65536.
    unsigned int below(unsigned int limit) {
        const unsigned int high = limit > 256 ? next() : 0;
        return (high * 256 + next()) % limit;
    }

    std::string bytes(unsigned int most) { return take(below(most + 1)); }
    std::string remaining() { return take(rest.size()); }

    /// At most @p most units, of which ASCII takes one byte and others two.
    WideString text(unsigned int most) {
        WideString units;
        for (unsigned int left = below(most + 1); left > 0 && !rest.empty(); --left) {
            const unsigned int lead = next();
            units += static_cast<WideChar>(lead < 0x80 ? lead : (lead < 0xC0 ? lead - 0x80 : lead) * 256 + next());
        }
        return units;
    }

private:
    unsigned int next() { return rest.empty() ? 0 : static_cast<unsigned char>(take(1)[0]); }

    std::string take(std::size_t count) {
        std::string taken(rest.substr(0, count));
        rest.remove_prefix(taken.size());
        return taken;
    }

    std::string_view rest;
};

/// Does what an input says and ends the program where the library is wrong. Each target has its own.
void check(Input input);

inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

/// A copy in a block of its exact size, so that the sanitizer sees a touch beyond it.
template <class Unit, class Text>
std::vector<Unit> exact(const Text& text) {
    return {text.begin(), text.end()};
}
template <class Text>
auto exact(const Text& text) {
    return exact<typename Text::value_type>(text);
}

/// The same, with a terminator.
template <class Unit>
std::vector<Unit> terminated(const std::basic_string<Unit>& text) {
    return {text.c_str(), text.c_str() + text.size() + 1};
}

/// What an action gives; nothing if it throws an `E`.
template <class E, class Action>
auto resultOf(Action action) -> std::optional<decltype(action())> {
    try {
        return action();
    } catch (E&) {
        return std::nullopt;
    }
}

}  // namespace moraine::fuzz
