#include "support.h"

#include <climits>
#include <tuple>

#include "moraine/io/IOException.h"
#include "moraine/io/MemoryInputStream.h"
#include "moraine/io/MemoryOutputStream.h"

namespace moraine::test {
namespace {

using io::IOException, io::MemoryInputStream, io::MemoryOutputStream;

std::string pattern(std::size_t length, unsigned int seed) {
    std::string bytes(length, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>((seed = seed * 1664525 + 1013904223) >> 24);
    }
    return bytes;
}

std::string readUpTo(MemoryInputStream& stream, std::size_t length) {
    std::string bytes(length, '#');
    bytes.resize(stream.read(length == 0 ? nullptr : bytes.data(), static_cast<unsigned int>(length)));
    return bytes;
}

std::string contentOf(MemoryOutputStream& stream) {
    return {stream.getBytes(), stream.getSize()};
}

TEST(MemoryInputStream, RefusedMovesNameTheTargetAndLeaveThePosition) {
    const WideString before = u"The range of the data was exceeded. : ",
                     behind = u"The range of the file was exceeded. : ";
    // clang-format off
    const std::tuple<std::size_t, long, WideString> rows[] = {
        {3, -5, before + u"-2 < 0"}, {0, -1, before + u"-1 < 0"}, {10, 1, behind + u"11 > 10"},
        {9, LONG_MIN, before + u"-9223372036854775799 < 0"}, {1, 4294967296, behind + u"4294967297 > 10"},
        {10, LONG_MAX, behind + u"9223372036854775807 > 10"}};
    // clang-format on
    for (const auto& [position, count, message] : rows) {
        MemoryInputStream stream;
        stream.setBytes("0123456789", 10);
        stream.skip(static_cast<long>(position));
        expectFailure<IOException>([&, by = count] { stream.skip(by); }, message, {u"moraine::io::MemoryInputStream"});
        stream.close();
        EXPECT_EQ(readUpTo(stream, 99), std::string("0123456789").substr(position));
    }
}

TEST(MemoryInputStream, AddedBytesFollowTheRestOfTheFormerOnes) {
    for (const std::size_t position : {0U, 1U, 9U, 10U}) {
        for (const unsigned int length : {0U, 1U, 40U, 5000U}) {
            const std::string added = pattern(length, 1), rest = std::string("0123456789").substr(position) + added;
            MemoryInputStream stream;
            stream.addBytes("0123456789", 10);
            readUpTo(stream, position);
            stream.addBytes(length == 0 ? nullptr : added.data(), static_cast<long>(length));
            EXPECT_EQ(stream.getSize(), rest.size());
            EXPECT_THROW(stream.skip(-1), IOException) << "what was read before is out of reach";
            stream.skip(static_cast<long>(rest.size()));
            stream.skip(-static_cast<long>(length));
            MemoryInputStream copy(stream);  // goes on at the same place
            EXPECT_EQ(readUpTo(copy, 9999), added);
            EXPECT_EQ(readUpTo(stream, 9999), added);
        }
    }
}

TEST(MemoryInputStream, ManySmallPiecesStayLinear) {
    const std::string piece = pattern(64, 1);
    MemoryInputStream in;
    for (unsigned int i = 0; i < 1U << 20; ++i) {
        in.addBytes(piece.data(), 64);
        ASSERT_EQ(readUpTo(in, 32), piece.substr(i % 2 * 32, 32));
    }
    EXPECT_EQ(in.getSize(), (1U << 25) + 32);
}

TEST(MemoryOutputStream, KeepsEveryByteWhateverTheSizesOfTheWrites) {
    for (const unsigned int length : {0U, 1U, 10239U, 10240U, 10241U, 30000U}) {
        MemoryOutputStream stream;
        std::string expected;
        for (const unsigned int next : {length, 1U, 10240U, length, 0U}) {
            EXPECT_EQ(stream.write(next == 0 ? nullptr : pattern(next, next).data(), next), next);
            expected += pattern(next, next);
            ASSERT_EQ(contentOf(stream), expected);
        }
        stream.writeto(&stream);  // its own bytes are as good as others, also where it has to grow
        ASSERT_EQ(contentOf(stream), expected + expected);
        MemoryOutputStream copy(stream);
        stream.clear();
        stream.write("new", 3);
        copy.write("!", 1);
        EXPECT_EQ(contentOf(stream) + contentOf(copy), "new" + expected + expected + "!");
    }
}

}  // namespace
}  // namespace moraine::test
