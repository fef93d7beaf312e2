#include "moraine/text/Base64Decoder.h"

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/internal/Extend.h"
#include "moraine/text/internal/Kernels.h"

namespace moraine::text {
namespace {

/// One byte as an element of the result: itself, or a unit of the same value.
template <class Text>
typename Text::value_type element(unsigned int bits) {
    return static_cast<typename Text::value_type>(bits & 0xFF);
}

}  // namespace

Base64Decoder::~Base64Decoder() = default;

OwnedByteString Base64Decoder::doDecode(const char* bytes, unsigned int length, bool last) {
    return decodeGroups<ByteString>(takeGroups(bytes, length, last));
}

OwnedWideString Base64Decoder::doDecodeM2W(const char* bytes, unsigned int length, bool last) {
    const Groups groups = takeGroups(bytes, length, last);
    try {
        return decodeGroups<WideString>(groups);
    } catch (lang::IllegalArgumentException& e) {
        lang::passOn(e, getClassName());
    }
}

void Base64Decoder::clear() {
    held.clear();
}

const WideChar* Base64Decoder::getDecodeName() const {
    return u"BASE64";
}

const WideChar* Base64Decoder::getClassName() const {
    return u"moraine::text::Base64Decoder";
}

unsigned int Base64Decoder::getBase64Index(char c) const {
    const int value = kernels::base64Value(c);
    if (value == kernels::noBase64Value) {
        // The char is widened with its sign.
        const auto unit = static_cast<WideChar>(static_cast<signed char>(c));
        lang::raise<lang::IllegalArgumentException>(getClassName(), lang::message(u"'", unit, u"'"));
    }
    return static_cast<unsigned int>(value);
}

Base64Decoder::Groups Base64Decoder::takeGroups(const char* bytes, unsigned int length, bool last) {
    const std::string_view text = held.join(bytes, length, workText);
    const std::size_t count = text.size() - 2 * kernels::countLineEnds(text.data(), text.size());
    const std::size_t incomplete = count % 4;
    if (last && incomplete != 0) {
        lang::raise<lang::IllegalArgumentException>(getClassName());
    }
    if (last && count > 0) {
        return {text.data(), text.data() + text.size(), count / 4 - 1, true};
    }
    const std::size_t kept = incomplete != 0 || count == 0 ? incomplete : 4;
    char tail[4];
    const char* at = text.data() + text.size();
    for (std::size_t missing = kept; missing > 0;) {
        if (at - text.data() >= 2 && kernels::isLineEnd(at - 2, at)) {
            at -= 2;
        } else {
            tail[--missing] = *--at;
        }
    }
    held.hold({tail, kept});
    return {text.data(), at, (count - kept) / 4, false};
}

void Base64Decoder::nextGroup(Groups& groups, char* group) {
    for (int i = 0; i < 4; ++i) {
        while (kernels::isLineEnd(groups.at, groups.end)) {
            groups.at += 2;
        }
        group[i] = *groups.at++;
    }
}

template <class Element>
void Base64Decoder::decodeFull(Groups& groups, std::size_t count, Element* out) const {
    kernels::Walk<Element> walk{groups.at, groups.end, out};
    while ((count = kernels::decodeBase64(walk, count)) > 0) {
        // Either a line ends inside this group, or one of its characters has no value.
        char group[4];
        groups.at = walk.at;
        nextGroup(groups, group);
        for (const char c : group) {
            getBase64Index(c);
        }
        kernels::Walk<Element> one{group, group + 4, walk.out};
        kernels::scalar::decodeBase64(one, 1);
        walk = {groups.at, groups.end, one.out};
        --count;
    }
    groups.at = walk.at;
}

template <class Text>
std::unique_ptr<Text> Base64Decoder::decodeGroups(Groups groups) const {
    auto result = std::make_unique<Text>();
    result->reserve(3 * (groups.full + (groups.closed ? 1 : 0)));
    extendByPieces(*result, groups.full, 3, [&](auto* out, std::size_t count) { decodeFull(groups, count, out); });
    if (groups.closed) {
        char group[4];
        nextGroup(groups, group);
        const unsigned int first = getBase64Index(group[0]) << 2;
        const unsigned int second = getBase64Index(group[1]);
        result->push_back(element<Text>(first | second >> 4));
        if (group[2] != '=') {
            const unsigned int third = getBase64Index(group[2]);
            result->push_back(element<Text>(second << 4 | third >> 2));
            if (group[3] != '=') {
                result->push_back(element<Text>(third << 6 | getBase64Index(group[3])));
            }
        }
    }
    return result;
}

}  // namespace moraine::text
