#include "moraine/extras/Properties.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <string>

#include "moraine/extras/Files.h"
#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/internal/Paths.h"
#include "moraine/extras/ReplacingFileOutputStream.h"
#include "moraine/extras/Utf8.h"
#include "moraine/io/DataFormatException.h"

namespace moraine::extras {
namespace {

constexpr const WideChar* className = u"moraine::extras::Properties";
constexpr const WideChar* emptyName = u"The name is empty.";
constexpr const WideChar* badName = u"The name has other characters than letters, digits and '_'.";

template <class Unit>
bool isName(std::basic_string_view<Unit> name) {
    return std::all_of(name.begin(), name.end(), [](Unit c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    });
}

/// Adds the entry of one line, if it has one. Returns what is wrong with it, or null.
const WideChar* readLine(std::string_view line, Properties::Entries& entries) {
    if (line.empty() || line[0] == '\r' || line[0] == '#') {
        return nullptr;
    }
    if (line[0] == ' ') {
        return u"The line starts with a blank.";
    }
    const std::size_t sign = line.find('=');
    if (sign == 0 || sign == std::string_view::npos) {
        return sign == 0 ? emptyName : u"'=' is missing.";
    }
    if (!isName(line.substr(0, sign))) {
        return badName;
    }
    const std::size_t last = line.find_last_not_of('\r');
    try {
        entries.emplace(fromUtf8(line.substr(0, sign)),
                        fromUtf8(line.substr(0, last + 1).substr(sign + 1), Malformed::refuse));
    } catch (lang::IllegalArgumentException&) {
        return u"Malformed UTF-8.";
    }
    return nullptr;
}

/// @param place what a failure says after the line
Properties::Entries entriesOf(std::string_view bytes, const WideString& place) {
    constexpr std::string_view mark = "\xef\xbb\xbf";
    if (bytes.substr(0, mark.size()) == mark) {
        bytes.remove_prefix(mark.size());
    }
    Properties::Entries entries;
    for (unsigned long number = 1; !bytes.empty(); ++number) {
        const std::size_t length = std::min(bytes.find('\n'), bytes.size());
        const WideChar* const fault = readLine(bytes.substr(0, length), entries);
        if (fault != nullptr) {
            raise<io::DataFormatException>(className, words(fault, u" : line ", number, place));
        }
        bytes.remove_prefix(std::min(length + 1, bytes.size()));
    }
    return entries;
}

std::string trimmed(std::u16string_view value) {
    std::string text = toUtf8(value);
    text.erase(0, text.find_first_not_of(" \t"));
    text.erase(text.find_last_not_of(" \t") + 1);
    return text;
}

[[noreturn]] void refuse(std::u16string_view name, const WideChar* is, std::u16string_view value,
                         long line = __builtin_LINE()) {
    raise<io::DataFormatException>(
        className, words(u"The value of ", WideString(name), u" is ", is, u" : ", WideString(value)), line);
}

}  // namespace

Properties Properties::load(const WideChar* name) {
    std::error_code ignored;
    Properties properties;
    const std::filesystem::path path = pathOf(name, className);
    if (std::filesystem::status(path, ignored).type() != std::filesystem::file_type::not_found) {
        properties.entries = entriesOf(readAll(name), words(u", file ", name));
    }
    return properties;
}

Properties Properties::load(io::InputStream& in) {
    Properties properties;
    properties.entries = entriesOf(readAll(in), u"");
    return properties;
}

std::u16string_view Properties::get(std::u16string_view name, std::u16string_view fallback) const {
    return find(name).value_or(fallback);
}

std::optional<std::u16string_view> Properties::find(std::u16string_view name) const {
    const auto entry = entries.find(name);
    return entry == entries.end() ? std::nullopt : std::optional<std::u16string_view>(entry->second);
}

long long Properties::getNumber(std::u16string_view name, long long fallback) const {
    const auto value = find(name);
    if (!value) {
        return fallback;
    }
    const std::string text = trimmed(*value);
    long long number = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (problem != std::errc() || end != text.data() + text.size()) {
        refuse(name, u"no number.", *value);
    }
    return number;
}

bool Properties::getFlag(std::u16string_view name, bool fallback) const {
    const auto value = find(name);
    if (!value) {
        return fallback;
    }
    std::string text = trimmed(*value);
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
    for (const bool flag : {true, false}) {
        for (const char* const word :
             {flag ? "true" : "false", flag ? "yes" : "no", flag ? "on" : "off", flag ? "1" : "0"}) {
            if (text == word) {
                return flag;
            }
        }
    }
    refuse(name, u"neither yes nor no.", *value);
}

void Properties::set(std::u16string_view name, std::u16string_view value) {
    if (name.empty() || !isName(name)) {
        raise<lang::IllegalArgumentException>(className, name.empty() ? emptyName : badName);
    }
    constexpr std::u16string_view breaks(u"\n\0", 2);
    const bool readsBack = value.find_first_of(breaks) == std::u16string_view::npos &&
                           (value.empty() || value.back() != u'\r') && fromUtf8(toUtf8(value)) == value;
    if (!readsBack) {
        raise<lang::IllegalArgumentException>(className,
                                              u"The value has a line feed or a zero unit, ends in a carriage "
                                              u"return, or has half a surrogate pair.");
    }
    entries.insert_or_assign(WideString(name), WideString(value));
}

void Properties::setNumber(std::u16string_view name, long long value) {
    WideString digits;
    text::appendDecimal(digits, value);
    set(name, digits);
}

void Properties::setFlag(std::u16string_view name, bool value) {
    set(name, value ? u"true" : u"false");
}

bool Properties::remove(std::u16string_view name) {
    const auto entry = entries.find(name);
    if (entry == entries.end()) {
        return false;
    }
    entries.erase(entry);
    return true;
}

std::size_t Properties::size() const {
    return entries.size();
}

Properties::Entries::const_iterator Properties::begin() const {
    return entries.begin();
}

Properties::Entries::const_iterator Properties::end() const {
    return entries.end();
}

void Properties::save(const WideChar* name) const {
    ReplacingFileOutputStream file(name);
    save(file);
    file.close();
}

void Properties::save(io::OutputStream& out) const {
    for (const auto& [key, value] : entries) {
        writeAll(out, toUtf8(key) + '=' + toUtf8(value) + '\n');
    }
}

}  // namespace moraine::extras
