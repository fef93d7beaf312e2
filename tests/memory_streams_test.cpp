#include "support.h"

#include <climits>
#include <tuple>

#include "moraine/io/IOException.h"
#include "moraine/io/MemoryInputStream.h"

namespace moraine::test {
namespace {

using io::IOException, io::MemoryInputStream;

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
        char rest[10];
        EXPECT_EQ(std::string(rest, stream.read(rest, 10)), std::string("0123456789").substr(position));
    }
}

TEST(MemoryInputStream, ManySmallPiecesStayLinear) {
    const std::string piece(64, 'x');
    char half[32];
    MemoryInputStream in;
    for (unsigned int i = 0; i < 1U << 20; ++i) {
        in.addBytes(piece.data(), 64);
        ASSERT_EQ(in.read(half, 32), 32U);
    }
    EXPECT_EQ(in.getSize(), (1U << 25) + 32);
}

}  // namespace
}  // namespace moraine::test
