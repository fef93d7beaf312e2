#include "moraine/extras/Utf8.h"

#include <algorithm>

#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/internal/Utf8Bytes.h"
#include "moraine/lang/IllegalArgumentException.h"

namespace moraine::extras {
namespace {

constexpr const WideChar* className = u"moraine::extras::Utf8";
constexpr char32_t replacement = 0xfffd;

}  // namespace

std::string toUtf8(std::u16string_view text, Malformed malformed) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t character = text[at];
        if (isSurrogate(character)) {
            if (isHighSurrogate(character) && at + 1 < text.size() && isLowSurrogate(text[at + 1])) {
                character = joined(text[at], text[at + 1]);
                ++at;
            } else if (malformed == Malformed::refuse) {
                raise<lang::IllegalArgumentException>(className, words(u"Half a surrogate pair. : offset ", at));
            } else {
                character = replacement;
            }
        }
        appendUtf8(bytes, character);
    }
    return bytes;
}

WideString fromUtf8(std::string_view bytes, Malformed malformed) {
    WideString text;
    text.reserve(bytes.size());
    const char* const begin = bytes.data();
    const char* const end = begin + bytes.size();
    for (const char* at = begin; at != end;) {
        const char* const plain = findNotAscii(at, end);
        text.append(at, plain);
        if (plain == end) {
            break;
        }
        const Sequence sequence = sequenceAt(plain, end);
        if (sequence.state == Sequence::good) {
            appendUtf16(text, sequence.character);
        } else if (malformed == Malformed::refuse) {
            raise<lang::IllegalArgumentException>(
                className, words(u"Malformed UTF-8. : offset ", static_cast<std::size_t>(plain - begin)));
        } else {
            text.push_back(replacement);
        }
        at = plain + sequence.length;
    }
    return text;
}

std::string report(lang::Exception& failure) {
    std::string text = toUtf8(*failure.getTrace());
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
}

}  // namespace moraine::extras
