#include "moraine/text/URLDecoder.h"

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/internal/Extend.h"
#include "moraine/text/internal/HeldBytes.h"
#include "moraine/text/internal/UrlKernels.h"
#include "moraine/text/StringUtil.h"

namespace moraine::text {

namespace {

/// Throws for what stands first in the rest of a block; @p after is how many bytes an escape wants after its "%".
[[noreturn]] void refuse(std::string_view rest, std::size_t after, const WideChar* className) {
    if (rest[0] == '%' && rest.size() > after) {
        // Of the two escapes that may stand here, the first bad one counts. A lower-case digit is refused by this:
        const std::size_t bad = url::escapeValue(&rest[1]) < 0 ? 1 : 4;
        if (url::areHexDigits(&rest[bad])) {
            StringUtil().fromHexString(&rest[bad], 2);
        }
    }
    lang::raise<lang::IllegalArgumentException>(className);
}

}  // namespace

OwnedByteString URLDecoder::doDecode(const char* bytes, unsigned int length, bool last) {
    return keptWithoutMemory(held, [&] { return decode<ByteString>(bytes, length, last); });
}

OwnedWideString URLDecoder::doDecodeM2W(const char* bytes, unsigned int length, bool last) {
    return keptWithoutMemory(held, [&] { return decode<WideString>(bytes, length, last); });
}

void URLDecoder::clear() {
    held.count = 0;
}

const WideChar* URLDecoder::getDecodeName() const {
    return u"URL";
}

const WideChar* URLDecoder::getClassName() const {
    return u"moraine::text::URLDecoder";
}

template <class Text>
std::unique_ptr<Text> URLDecoder::decode(const char* bytes, unsigned int length, bool last) {
    using Element = typename Text::value_type;
    ByteString joined;
    const std::string_view input = joinHeld(held, bytes, length, joined);
    auto result = std::make_unique<Text>(input.size(), Element());
    kernels::Walk<Element> walk{input.data(), input.data() + input.size(), result->data()};
    kernels::decodeUrl(walk);
    if (walk.at < walk.end) {
        const std::size_t after = sizeof(Element) == 1 ? 2 : 5;  // what it takes to tell a complete escape
        if (last || *walk.at != '%' || walk.left() > after) {
            refuse({walk.at, walk.left()}, after, getClassName());
        }
        hold(held, {walk.at, walk.left()});
    }
    endAt(*result, walk.out);
    return result;
}

}  // namespace moraine::text
