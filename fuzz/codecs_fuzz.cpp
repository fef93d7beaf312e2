#include <algorithm>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/text/Base64Decoder.h"
#include "moraine/text/Base64Encoder.h"
#include "moraine/text/internal/Base64Kernels.h"
#include "moraine/text/internal/UrlKernels.h"
#include "moraine/text/internal/Utf8Kernels.h"
#include "moraine/text/URLDecoder.h"
#include "moraine/text/URLEncoder.h"
#include "moraine/text/UTF8Decoder.h"
#include "moraine/text/UTF8Encoder.h"

#include "input.h"

namespace moraine::fuzz {
namespace {

namespace kernels = text::kernels;
namespace scalar = text::kernels::scalar;
namespace scan = text::scan;

/// All that a codec makes of units that come in pieces, as far as @p cuts says how; nothing if they are refused. On the
/// way it is now and then cleared, to start again, or a copy goes on in its place.
template <class Codec, class Unit, class Made, class Text>
std::optional<Made> converted(std::unique_ptr<Made> (Codec::*operation)(const Unit*, unsigned int, bool),
                              const Text& input, Input cuts) try {
    Codec codec;
    Made made;
    for (std::size_t at = 0, last = false; !last;) {
        const unsigned int way = cuts.isEmpty() ? 1 : cuts.below(8);
        if (way == 0) {
            codec.clear();
            made.clear();
            at = 0;
        } else if (way == 2) {
            codec = Codec(codec);
        }
        const auto piece = exact<Unit>(input.substr(at, cuts.isEmpty() ? input.size() : cuts.below(256)));
        at += piece.size();
        last = at == input.size() && way != 3;
        made += *(codec.*operation)(piece.data(), static_cast<unsigned int>(piece.size()), last);
    }
    require((codec.*operation)(nullptr, 0, true)->empty(), "after the last piece nothing is held");
    return made;
} catch (lang::IllegalArgumentException&) {
    return std::nullopt;
}

/// Encodes bytes and text and decodes them again, all in pieces; decodes the bytes, which may be no code at all.
template <class Encoder, class Decoder>
void checkCodec(const std::string& bytes, const WideString& text, bool wide, bool comparable, const Input& cuts) {
    const auto inPieces = [&](auto operation, const auto& input, bool same) {
        auto made = converted(operation, input, cuts);
        require(!same || made == converted(operation, input, Input("")), "the same in pieces");
        return made;
    };
    const auto code = inPieces(&Encoder::doEncode, bytes, true);
    const auto wideCode = inPieces(&Encoder::doEncodeW2M, text, true);
    require(code && converted(&Decoder::doDecode, *code, cuts) == bytes, "what is encoded is decoded");
    require(wideCode && (!wide || converted(&Decoder::doDecodeM2W, *wideCode, cuts) == text), "so is text");
    inPieces(&Decoder::doDecode, bytes, comparable);
    inPieces(&Decoder::doDecodeM2W, bytes, comparable);
}

/// All that a kernel tells and makes of bytes, for which it has no more room than it may need. It stops @p early.
template <class Walk, class Decode>
std::vector<long> walked(const std::string& bytes, std::size_t room, std::size_t early, Decode decode) {
    const std::vector<char> from = exact(bytes);
    std::vector<std::remove_pointer_t<decltype(Walk::out)>> made(room);
    Walk walk{};
    walk.at = from.data();
    walk.end = from.data() + from.size();
    walk.out = made.data();
    decode(walk, walk.end - std::min(early, from.size()));
    std::vector<long> told(made.data(), walk.out);
    told.push_back(static_cast<long>(walk.left()));
    if constexpr (std::is_same_v<Walk, kernels::Utf8Walk>) {
        told.push_back(walk.zero == nullptr ? -1 : walk.zero - made.data());
    }
    return told;
}

/// All vector kernels against their scalar twins.
void checkKernels(const std::string& bytes, const WideString& text, std::size_t early) {
    const auto agree = [&](auto walk, std::size_t room, auto vector, auto plain) {
        using Walk = decltype(walk);
        require(walked<Walk>(bytes, room, early, vector) == walked<Walk>(bytes, room, early, plain), "a walk");
    };
    const std::size_t size = bytes.size();
    const auto utf8 = [](auto& walk, const char* stop) { kernels::decodeUtf8(walk, stop); };
    const auto plainUtf8 = [](auto& walk, const char* stop) { scalar::decodeUtf8(walk, stop); };
    const auto base64 = [](auto& walk, const char*) { kernels::decodeBase64(walk); };
    const auto plainBase64 = [](auto& walk, const char*) { scalar::decodeBase64(walk); };
    const auto url = [](auto& walk, const char*) { kernels::decodeUrl(walk); };
    const auto plainUrl = [](auto& walk, const char*) { scalar::decodeUrl(walk); };
    agree(kernels::Utf8Walk(), size, utf8, plainUtf8);
    agree(kernels::Walk<char>(), size / 4 * 3, base64, plainBase64);
    agree(kernels::Walk<WideChar>(), size / 4 * 3, base64, plainBase64);
    agree(kernels::Walk<char>(), size, url, plainUrl);
    agree(kernels::Walk<WideChar>(), size, url, plainUrl);

    const auto units = exact(text);
    const auto octets = exact<unsigned char>(bytes);
    const WideChar* const u = units.data();
    const unsigned char* const o = octets.data();
    const std::size_t n = units.size(), utf8Size = kernels::utf8Size(u, n);
    const auto same = [](const auto& vector, const auto& plain) { require(vector == plain, "a kernel"); };
    same(utf8Size, scalar::utf8Size(u, n));
    same(kernels::countPlain(o, size), scalar::countPlain(o, size));
    same(kernels::countPlain(u, n), scalar::countPlain(u, n));
    std::vector<char> made(utf8Size), plain(made), groups(size / 3 * 4), plainGroups(groups), narrow(n), plainNarrow(n);
    std::vector<WideChar> wide(size), plainWide(size);
    kernels::encodeUtf8(u, n, made.data());
    scalar::encodeUtf8(u, n, plain.data());
    same(made, plain);
    kernels::encodeBase64(o, size / 3, groups.data());
    scalar::encodeBase64(o, size / 3, plainGroups.data());
    same(groups, plainGroups);
    same(kernels::narrowAscii(u, n, narrow.data()), scan::scalar::narrowAscii(u, n, plainNarrow.data()));
    same(scan::widenAscii(bytes.data(), size, wide.data()),
         scan::scalar::widenAscii(bytes.data(), size, plainWide.data()));
    same(wide, plainWide);
    const WideChar one = n == 0 ? u'<' : units.back(), other = n == 0 ? u'&' : units[n / 2];
    same(scan::find(u, n, one), scan::scalar::find(u, n, one));
    same(scan::findEither(u, n, one, other), scan::scalar::findEither(u, n, one, other));
    same(scan::findNameEnd(u, n), scan::scalar::findNameEnd(u, n));
    same(scan::findSolid(u, n), scan::scalar::findSolid(u, n));
    same(scan::findReserved(u, n), scan::scalar::findReserved(u, n));
}

}  // namespace

void check(Input input) {
    const std::string cuts = input.bytes(24);
    const unsigned int early = input.below(4);
    const std::string bytes = input.remaining();
    Input units(bytes);
    const WideString text = units.text(65535);
    const auto decode = [](auto& walk, const char* stop) { scalar::decodeUtf8(walk, stop); };
    const bool hidesNothing = walked<kernels::Utf8Walk>(bytes, bytes.size(), 0, decode).back() < 0;
    checkCodec<text::UTF8Encoder, text::UTF8Decoder>(bytes, text, text.find(u'\0') == WideString::npos, hidesNothing,
                                                     Input(cuts));
    // A block may end between padding and the line end after it.
    checkCodec<text::Base64Encoder, text::Base64Decoder>(bytes, text, false, bytes.find('\r') == std::string::npos,
                                                         Input(cuts));
    checkCodec<text::URLEncoder, text::URLDecoder>(bytes, text, true, true, Input(cuts));
    checkKernels(bytes, text, early);
}

}  // namespace moraine::fuzz
