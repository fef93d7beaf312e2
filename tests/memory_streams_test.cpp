#include "support.h"

#include <climits>
#include <random>
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
    expectPlaces(1, &io::InputStream::read, &io::InputStream::close, &io::InputStream::skip);
    const WideString before = u"The range of the data was exceeded. : ",
                     behind = u"The range of the file was exceeded. : ";
    // clang-format off
    const std::tuple<std::size_t, long, WideString> rows[] = {
        {3, -5, before + u"-2 < 0"}, {0, -1, before + u"-1 < 0"}, {0, LONG_MIN, before + u"-9223372036854775808 < 0"},
        {9, LONG_MIN, before + u"-9223372036854775799 < 0"}, {3, 8, behind + u"11 > 10"}, {10, 1, behind + u"11 > 10"},
        {1, 4294967296, behind + u"4294967297 > 10"}, {0, LONG_MAX, behind + u"9223372036854775807 > 10"},
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

TEST(MemoryInputStream, BehavesAsTextWithAPositionForAnyOrderOfCalls) {
    std::mt19937 random(4711);
    MemoryInputStream stream;
    std::string held;
    std::size_t position = 0;
    for (unsigned int round = 0; round < 20000; ++round) {
        const std::string bytes = pattern(round == 1 ? 0 : random() % (random() % 50 == 0 ? 5000 : 40), round);
        const char* const data = bytes.empty() ? nullptr : bytes.data();
        const auto choice = round < 3 ? 2 - round : random() % 8;
        if (choice == 0) {
            stream.setBytes(data, static_cast<long>(bytes.size()));
            held = bytes;
            position = 0;
        } else if (choice < 4) {  // what was read is out of reach from here on
            stream.addBytes(data, static_cast<long>(bytes.size()));
            held = held.substr(position) + bytes;
            position = 0;
        } else if (choice == 4) {
            const std::size_t target = random() % (held.size() + 1);
            stream.skip(static_cast<long>(target) - static_cast<long>(position));
            position = target;
        } else {
            ASSERT_EQ(readUpTo(stream, bytes.size()), held.substr(position, bytes.size()));
            position = std::min(position + bytes.size(), held.size());
        }
        ASSERT_EQ(stream.getSize(), held.size());
        MemoryInputStream copy(stream);  // goes on at the same place, and what is done to it stays there
        EXPECT_THROW(copy.skip(-1 - static_cast<long>(position)), IOException);
        ASSERT_EQ(readUpTo(copy, held.size() + 1), held.substr(position));
    }
}

TEST(MemoryStreams, ManySmallPiecesStayLinear) {
    const std::string piece = pattern(64, 1);
    MemoryOutputStream out;
    MemoryInputStream in;
    for (unsigned int i = 0; i < 1U << 20; ++i) {
        out.write(piece.data(), 64);
        in.addBytes(piece.data(), 64);
        ASSERT_EQ(readUpTo(in, 32), piece.substr(i % 2 * 32, 32));
    }
    EXPECT_EQ(in.getSize(), (1U << 25) + 32);
    for (std::size_t i = 0; i < out.getSize(); i += 64) {
        ASSERT_EQ(std::memcmp(out.getBytes() + i, piece.data(), 64), 0) << i;
    }
}

TEST(MemoryOutputStream, KeepsEveryByteWhateverTheSizesOfTheWrites) {
    expectPlaces(1, &io::OutputStream::write, &io::OutputStream::flush, &io::OutputStream::close);
    for (const unsigned int length : {0U, 1U, 10239U, 10240U, 10241U, 30000U}) {
        MemoryOutputStream stream, assigned;
        std::string expected;
        for (const unsigned int next : {length, 1U, 10240U, length, 0U}) {
            EXPECT_EQ(stream.write(next == 0 ? nullptr : pattern(next, next).data(), next), next);
            stream.close();
            expected += pattern(next, next);
            ASSERT_EQ(contentOf(stream), expected);
        }
        stream.writeto(&stream);  // its own bytes are as good as others, also where it has to grow
        ASSERT_EQ(contentOf(stream), expected + expected);
        MemoryOutputStream copy(stream);
        assigned = copy;
        stream.clear();
        EXPECT_EQ(stream.getSize(), 0U);
        stream.write("new", 3);
        copy.write("!", 1);
        EXPECT_EQ(contentOf(stream) + contentOf(copy), "new" + expected + expected + "!");
        EXPECT_EQ(contentOf(assigned), expected + expected);
    }
}

TEST(MemoryOutputStream, WritetoWritesFlushesAndClosesAndKeepsItsBytes) {
    struct Recorder : io::OutputStream {
        unsigned int write(const char* data, unsigned int length) override {
            calls += "write(" + std::string(data, length) + ")";
            return 0;
        }
        void flush() override { calls += " flush"; }
        void close() override { calls += " close "; }
        std::string calls;
    } target;
    MemoryOutputStream stream;
    stream.writeto(&target);
    stream.write("abc", 3);
    stream.writeto(&target);
    EXPECT_EQ(target.calls, "write() flush close write(abc) flush close ");
    EXPECT_EQ(contentOf(stream), "abc");
}

}  // namespace
}  // namespace moraine::test
