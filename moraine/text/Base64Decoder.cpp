#include "moraine/text/Base64Decoder.h"

#include <algorithm>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/internal/Base64Kernels.h"
#include "moraine/text/internal/Extend.h"
#include "moraine/text/internal/HeldBytes.h"

namespace moraine::text {
namespace {

constexpr const WideChar* className = u"moraine::text::Base64Decoder";

/// One byte as an element of the result: itself, or a unit of the same value.
template <class Text>
typename Text::value_type element(unsigned int bits) {
    return static_cast<typename Text::value_type>(bits & 0xFF);
}

bool endsInLineEnd(std::string_view text) {
    return text.size() >= 2 && text[text.size() - 2] == '\r' && text.back() == '\n';
}

std::size_t countLineEnds(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t i = 1; i < text.size(); ++i) {
        count += static_cast<std::size_t>(text[i - 1] == '\r' && text[i] == '\n');
    }
    return count;
}

/// Decodes what it can, but the last character and so not the last group; returns how much of the text that was,
/// which is whole groups and CR LF pairs. The text does not end in such a pair.
template <class Text>
std::size_t decodeAhead(std::string_view text, Text& result) {
    if (text.empty()) {
        return 0;
    }
    const char* const end = text.data() + text.size() - 1;
    kernels::Walk<typename Text::value_type> walk{text.data(), text.data(), nullptr};
    while (walk.left() < 4 && end - walk.at >= 4) {
        walk.end = walk.at + std::min<std::ptrdiff_t>(end - walk.at, pieceSize);
        walk.out = extend(result, walk.left() / 4 * 3);
        kernels::decodeBase64(walk);
        endAt(result, walk.out);
    }
    return static_cast<std::size_t>(walk.at - text.data());
}

/// Takes the next 4 characters that are not of a CR LF pair; returns whether there are any.
template <class Element>
bool takeGroup(kernels::Walk<Element>& walk, char* group) {
    int count = 0;
    while (count < 4 && walk.at < walk.end) {
        if (!kernels::passLineEnd(walk)) {
            group[count++] = *walk.at++;
        }
    }
    return count == 4;
}

/// The 6-bit value of a character.
/// @throws lang::IllegalArgumentException with the character between apostrophes, if it has none
unsigned int getBase64Index(char c) {
    const int value = kernels::base64Value(c);
    if (value == kernels::noBase64Value) {
        // The char is widened with its sign.
        const auto unit = static_cast<WideChar>(static_cast<signed char>(c));
        lang::raise<lang::IllegalArgumentException>(className, lang::message(u"'", unit, u"'"));
    }
    return static_cast<unsigned int>(value);
}

/// What is to be decoded after the groups that could be taken without a look at the end.
struct Rest {
    std::string_view full;  // whole groups with CR LF pairs
    char tail[4] = {};      // the last characters that are not of a CR LF pair: one group at most
    bool closed = false;    // whether the tail is the last group of the stream, which may be padded
};

/// Decodes ahead in the block with what was held before it. What stays back is held from here on.
template <class Held, class Text>
Rest takeGroups(Held& held, std::string_view text, bool last, Text& result) {
    while (endsInLineEnd(text)) {
        text.remove_suffix(2);
    }
    result.reserve(text.size() / 4 * 3);
    text.remove_prefix(decodeAhead(text, result));

    // What was taken are whole groups, so what is left tells how the text ends.
    const std::size_t count = text.size() - 2 * countLineEnds(text);
    const std::size_t incomplete = count % 4;
    if (last && incomplete != 0) {
        lang::raise<lang::IllegalArgumentException>(className);
    }
    const std::size_t tailLength = incomplete != 0 || count == 0 ? incomplete : 4;
    Rest rest;
    for (std::size_t missing = tailLength; missing > 0;) {
        if (endsInLineEnd(text)) {
            text.remove_suffix(2);
        } else {
            rest.tail[--missing] = text.back();
            text.remove_suffix(1);
        }
    }
    rest.full = text;
    rest.closed = last && count > 0;
    if (!last) {
        hold(held, {rest.tail, tailLength});
    }
    return rest;
}

template <class Text>
void decodeRest(const Rest& rest, Text& result) {
    using Element = typename Text::value_type;
    kernels::Walk<Element> walk{rest.full.data(), rest.full.data() + rest.full.size(),
                                extend(result, rest.full.size() / 4 * 3)};
    while (walk.at < walk.end) {
        kernels::decodeBase64(walk);
        char group[4];
        if (takeGroup(walk, group)) {
            // Either a line ended inside this group, or one of its characters has no value.
            for (const char c : group) {
                getBase64Index(c);
            }
            kernels::Walk<Element> one{group, group + 4, walk.out};
            kernels::scalar::decodeBase64(one);
            walk.out = one.out;
        }
    }
    endAt(result, walk.out);
    if (rest.closed) {
        const unsigned int first = getBase64Index(rest.tail[0]) << 2;
        const unsigned int second = getBase64Index(rest.tail[1]);
        result.push_back(element<Text>(first | second >> 4));
        if (rest.tail[2] != '=') {
            const unsigned int third = getBase64Index(rest.tail[2]);
            result.push_back(element<Text>(second << 4 | third >> 2));
            if (rest.tail[3] != '=') {
                result.push_back(element<Text>(third << 6 | getBase64Index(rest.tail[3])));
            }
        }
    }
}

}  // namespace

OwnedByteString Base64Decoder::doDecode(const char* bytes, unsigned int length, bool last) {
    return keptWithoutMemory(held, [&] {
        auto result = std::make_unique<ByteString>();
        ByteString joined;
        decodeRest(takeGroups(held, joinHeld(held, bytes, length, joined), last, *result), *result);
        return result;
    });
}

OwnedWideString Base64Decoder::doDecodeM2W(const char* bytes, unsigned int length, bool last) {
    return keptWithoutMemory(held, [&] {
        auto result = std::make_unique<WideString>();
        ByteString joined;
        const Rest rest = takeGroups(held, joinHeld(held, bytes, length, joined), last, *result);
        try {
            decodeRest(rest, *result);
        } catch (lang::IllegalArgumentException& e) {
            lang::passOn(e, className);
        }
        return result;
    });
}

void Base64Decoder::clear() {
    held.count = 0;
}

const WideChar* Base64Decoder::getDecodeName() const {
    return u"BASE64";
}

}  // namespace moraine::text
