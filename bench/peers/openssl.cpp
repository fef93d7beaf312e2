#include <openssl/evp.h>

#include "../bench.h"

namespace {

using bench::narrow;
using bench::Sink;

const auto bytesOf = [](const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); };

void encode(const std::string& bytes, Sink& sink) {
    const std::unique_ptr<unsigned char[]> text(new unsigned char[bytes.size() / 3 * 4 + 5]);
    const int size = EVP_EncodeBlock(text.get(), bytesOf(bytes), static_cast<int>(bytes.size()));
    sink(text.get(), static_cast<std::size_t>(size));
}

void decode(const std::string& text, Sink& sink) {
    const std::unique_ptr<unsigned char[]> bytes(new unsigned char[text.size() / 4 * 3]);
    const int size = EVP_DecodeBlock(bytes.get(), bytesOf(text), static_cast<int>(text.size()));
    sink(bytes.get(), static_cast<std::size_t>(size));
}

const bench::TextWay ways[] = {
    {"base64/encode", "OpenSSL", narrow, encode},
    {"base64/encode-wide", "OpenSSL", narrow, encode},
    {"base64/decode", "OpenSSL", narrow, decode},
};

}  // namespace
