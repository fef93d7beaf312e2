// The examples of docs/text.md.

#include <moraine/io/MemoryInputStream.h>
#include <moraine/lang/IllegalArgumentException.h>
#include <moraine/text/DecoderManager.h>
#include <moraine/text/EncoderManager.h>

#include "tests/support.h"

using namespace moraine;

namespace {

//! [whole]
/// A text in one of the encodings, in one call: the first block is the last one.
ByteString encoded(const WideString& text, const WideChar* encoding) {
    const std::unique_ptr<text::IEncoder> encoder(text::EncoderManager().getEncoder(encoding));
    return *encoder->doEncodeW2M(text.data(), static_cast<unsigned int>(text.size()), true);
}
//! [whole]

//! [blocks]
/// What a stream holds, as text. Its blocks may be cut anywhere.
WideString decoded(io::InputStream& in, const WideChar* encoding) {
    const std::unique_ptr<text::IDecoder> decoder(text::DecoderManager().getDecoder(encoding));
    WideString text;
    char block[4];
    while (const unsigned int count = in.read(block, sizeof block)) {
        text += *decoder->doDecodeM2W(block, count, false);
    }
    return text + *decoder->doDecodeM2W(nullptr, 0, true);
}
//! [blocks]

TEST(Text, RoundTrips) {
    const WideString text = u"\u00e9t\u00e9 \u20ac";
    EXPECT_EQ(encoded(text, u"utf-8"), "\xc3\xa9t\xc3\xa9 \xe2\x82\xac");
    EXPECT_EQ(encoded(u"a/b", u"url"), "a%00%2Fb");
    for (const WideChar* const encoding : {u"utf-8", u"url"}) {
        const ByteString bytes = encoded(text, encoding);
        io::MemoryInputStream in;
        in.setBytes(bytes.data(), static_cast<long>(bytes.size()));
        EXPECT_EQ(decoded(in, encoding), text);
        in.setBytes(bytes.data(), static_cast<long>(bytes.size()) - 1);
        EXPECT_THROW(decoded(in, encoding), lang::IllegalArgumentException);
    }
}

}  // namespace
