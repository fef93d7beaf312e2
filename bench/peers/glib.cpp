#include <glib.h>

#include "../bench.h"

namespace {

/// There is no sign for a digit here: any unit is matched.
std::pair<std::string, std::shared_ptr<GPatternSpec>> prepared(const bench::Text& text) {
    std::string pattern = text.pattern;
    std::replace(pattern.begin(), pattern.end(), '#', '?');
    return {text.narrow, {g_pattern_spec_new(pattern.c_str()), g_pattern_spec_free}};
}

const auto match = [](const auto& prepared, bench::Sink& sink) {
    const auto& [text, pattern] = prepared;
    const bool held = g_pattern_spec_match(pattern.get(), text.size(), text.c_str(), nullptr) != FALSE;
    sink(&held, 1);
};

const bench::TextWay ways[] = {{"wildcard", "GLib", prepared, match}, {"wildcard-wide", "GLib", prepared, match}};

}  // namespace
