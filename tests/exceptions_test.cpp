#include "moraine/io/DataFormatException.h"
#include "moraine/io/FileNotFoundException.h"
#include "moraine/lang/ArrayIndexOutBoundsException.h"
#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/IllegalStateException.h"
#include "moraine/lang/UnsupportedOperationException.h"
#include "moraine/net/NetworkException.h"
#include "moraine/sql/SQLException.h"
#include "moraine/text/UnsupportedEncodingException.h"

#include "support.h"

namespace moraine::test {
namespace {

using io::IOException, lang::Exception;

template <class E, class Base>
void checkMember(const WideString& name) {
    SCOPED_TRACE(typeid(E).name());
    static_assert(std::is_base_of_v<Base, E> && !std::is_default_constructible_v<E>);

    E original(u"a::Thrower", 7);
    EXPECT_EQ(*original.getTrace(), name + u"\r\n\tat a::Thrower(7)\r\n");
    original.setMessage(u" ");
    E copy(original);
    copy.addTrace(u"a::Layer", 8);
    EXPECT_EQ(*copy.getTrace(), name + u" :  \r\n\tat a::Thrower(7)\r\n\tat a::Layer(8)\r\n");
    EXPECT_EQ(*original.getTrace(), name + u" :  \r\n\tat a::Thrower(7)\r\n") << "the copy's line reached the original";

    copy = original;
    EXPECT_EQ(*copy.getTrace(), *original.getTrace());
    expectFailure<E>([&] { throw original; }, u" ", {u"a::Thrower"});
}

TEST(Exceptions, EveryClassKeepsItsNameItsTextsAndItsPlaceInTheFamily) {
    checkMember<Exception, Exception>(u"moraine::exception::Exception");
    checkMember<lang::ArrayIndexOutBoundsException, Exception>(u"moraine::lang::ArrayIndexOutBoundsException");
    checkMember<lang::IllegalArgumentException, Exception>(u"moraine::lang::IllegalArgumentException");
    checkMember<lang::IllegalStateException, Exception>(u"moraine::lang::IllegalStateException");
    checkMember<lang::UnsupportedOperationException, Exception>(u"moraine::lang::UnsupportedOperationException");
    checkMember<IOException, IOException>(u"moraine::io::IOException");
    checkMember<io::FileNotFoundException, IOException>(u"moraine::io::FileNotFoundException");
    checkMember<io::DataFormatException, Exception>(u"moraine::io::DataFormatException");
    checkMember<text::UnsupportedEncodingException, Exception>(u"moraine::text::UnsupportedEncodingException");
    checkMember<net::NetworkException, Exception>(u"moraine::net::NetworkException");
    checkMember<sql::SQLException, Exception>(u"moraine::sql::SQLException");
}

TEST(Exceptions, TraceKeepsCallOrderAndTheLastMessageWins) {
    IOException e(u"X", 0);
    e.setMessage(u"first, and longer");
    e.setMessage(u"second");
    e.addStackTrace(u"free text");
    e.addTrace(u"Y", 4294967301);  // a signed number of 32 bits
    EXPECT_EQ(*e.getTrace(), u"moraine::io::IOException : second\r\n\tat X(0)\r\nfree text\r\n\tat Y(5)\r\n");
    EXPECT_EQ(*e.getMessage(), u"second");
}

}  // namespace
}  // namespace moraine::test
