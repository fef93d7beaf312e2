#include <climits>
#include <random>

#include "moraine/io/IOException.h"
#include "moraine/lang/ArrayIndexOutBoundsException.h"
#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/UnsupportedOperationException.h"
#include "moraine/xml/internal/Marks.h"

#include "xml_support.h"

namespace moraine::test {
namespace {

using namespace std::string_literals;
using io::DataFormatException;
using xml::DOM::XMLReader;

const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
const WideString headPieces = u"D|? version=1.0 encoding=UTF-8|";

WideString bodyOf(const std::string& body, std::vector<std::size_t> borders = {}) {
    for (std::size_t& border : borders) {
        border += head.size();
    }
    Source source(head + body, std::move(borders));
    const WideString all = allOf(source);
    EXPECT_EQ(all.substr(0, headPieces.size()), headPieces);
    return all.substr(headPieces.size());
}

/// Expects the outcome of each body in one block, cut once at every place, and in small blocks.
void expectRows(const std::string& table) {
    const std::vector<WideString> cells = cellsOf(2, table);
    for (std::size_t i = 0; i < cells.size(); i += 2) {
        const std::string body = bytesOf(cells[i]);
        const WideString& outcome = cells[i + 1];
        ASSERT_EQ(bodyOf(body), outcome) << body;
        for (std::size_t cut = 0; cut < body.size(); ++cut) {
            WideString expected = outcome;
            const WideString read = bodyOf(body, {cut});
            if (const std::size_t opening = body.substr(0, cut).rfind("<!-"); opening < cut && opening + 4 >= cut) {
                const WideString refusal = u"Unsupported element type.(38) '!'";  // behind what stands in front of it
                expected = outcome.substr(0, read.find(refusal)) + refusal;
            }
            ASSERT_EQ(read, expected) << body << " cut at " << cut;
        }
    }
}

TEST(XMLReader, Pieces) {
    expectRows(R"T(
        \e    .    \s\t\r\n\s\s    .    <a/><b/>    <a/>|<b/>|.    <a>    <a>|.
        <a b="1" c='2'>\n\s hello &amp; bye \s\n<b/><!-- note --><c></c></a>\n
            <a b=1 c=2>|'hello & bye\s\s\n'|<b/>|! note |<c>|</c>|</a>|.
        <a> <b>\n<c/>\t</b>\r\n<d></d> x <e/> y\t</a> <e/>    <a>|<b>|<c/>|</b>|<d>|</d>|'x '|<e/>|'y\t'|</a>|<e/>|.
        <a>x>y</a><a>&lt;&#65;&#x0;b</a b="1" >              <a>|'x>y'|</a>|<a>|'<A'|</a b=1>|.
        <!----><!-- a -- b --><!--->--><!--x--->             !~|! a -- b |!->|!x-|.
        <!--&lt;--><a><!-- > -> --></a><!--end-->            !<|<a>|! > -> |</a>|!end|.
        <a<b c="1"/><a<b /><a/b></a/b><a/ ></a/>             <a<b c=1/>|<a<b/>|<a/b>|</a/b>|<a/>|</a/>|.
        <1/><-a/><a:b/><a&amp;b/><a&lt;></a&#60;>            <1/>|<-a/>|<a:b/>|<a&b/>|<a<>|</a<>|.)T");
}

TEST(XMLReader, Attributes) {
    expectRows(R"T(
        <a /><b\tb="1"\n\r/><a b = "1"/><a b="1"c="2"/><a >   <a/>|<b b=1/>|<a b=1/>|<a b=1 c=2/>|<a>|.
        <a b="1" b="2"/><a \sb c\t=\n"1"/>                  <a b=1 b=2/>|<a b c=1/>|.
        <a b="it's" c='"'/><a b="" c="d"/><a b="" />        <a b=it's c="/>|<a b=~ c=d/>|<a b=~/>|.
        <a b="&lt;" &amp;=" &#65; "/><a /?b="/" c="/"/>     <a b=< &= A />|<a /?b=/ c=//>|.
        <a b=c"1"/>     Invalid attribute name.(43)         <a b= c="1"/>   Invalid attribute name.(44)
        <a b=""/>       Invalid attribute value.(42)        <a b/>          Invalid element.(41)
        <a b=c/>        Invalid element.(43)                <a =1/>         Attribute name not found.(40)
        <a b=="1"/>     Invalid attribute name.(42)         <a b=/>         Invalid element.(42)
        <a "b"/>        Invalid attribute name.(40)         <a b="1" "c"/>  Invalid attribute name.(46)
        <a></a b>       <a>|Invalid element.(41)            <a b="<"/>      Invalud attribute name.(43) : '<'
        <a></a =1>      <a>|Attribute name not found.(40)   <a b="c/>       Invalid attribute value.(42))T");
}

TEST(XMLReader, Refusals) {
    expectRows(R"T(
        <a><!--c-->    <a>|!c|Invalid element tree..        <a>x            <a>|Invalid EOD.(38).
        <              Invalid element.(38).                <a b            Invalid element.(38).
        <![CDATA[a]]>  Unsupported element type.(38) '!'    <!DOCTYPE a>    Unsupported element type.(38) '!'
        <!-x-->        Unsupported element type.(38) '!'    <?pi x?>        Unsupported element type.(38) '?'
        <a/>x          <a/>|Invalid text.(38)               <!-->           Invalid comment.(38).
        < a>           Invalid element name.(38) ' '        <\ta>           Invalid element name.(38)
        <ab' c="1"/>   Invalid element name.(38) 'a'        <a/><=/>        <a/>|Invalid element name.(38) '='
        <a<b/>         Invalid element name.(38) 'a'        <a></a=b>       <a>|Invalid element name.(38) '/'
        <a></>         <a>|Element name not found.(38) '/'  <>x             Element name not found.(38) '>'
        <!--x->        Invalid comment.(38).                <!--xy>         Invalid comment.(38).
        <a></ a>       <a>|Element name not found.(38)      <a></a></a>     <a>|</a>|Invalid element tree.(38))T");
}

TEST(XMLReader, WhereBlocksEndMatters) {
    // A "|" is where a block ends. The number counts the white-space that is pending with the token, and nothing of
    // what is consumed or dropped. One block more is read to see what a markup is, and none for a comment. A block that
    // decodes to nothing ends the data.
    const std::vector<WideString> cells = cellsOf(2, R"T(
        \ntext      Invalid text.(39)             \n|text     Invalid text.(38)    \n<a>\n\s <b>\n</c>    <a>|<b>|Invalid element tree.(39)
        \s\n<a =1>  Attribute name not found.(42)  <a>\s x    <a>|Invalid EOD.(38).    <a>\s <!--x    <a>|Invalid comment.(40).
        <a>\s </    <a>|Invalid element.(40).     <>    Invalid element.(38).    <?    Invalid element.(38).    <!    Invalid element.(38).
        <|?         Unsupported element type.(38) '?'    <!--    Unsupported element type.(38) '!'    <|!|--a-->    Unsupported element type.(38) '!'
        <|!--a|-->  !a|.    <!|--a-|-|>    !a|.    <a>|\u00C3|\u00A9</a>    <a>|.    <a>\u00C3|\u00A9</a>    <a>|'\u00E9'|</a>|.
        <\u00E2|\u0082\u00AC a='\u00C3|\u00A9 '/>    <\u20AC a=\u00E9 />|.    <a>|\u0080\u0080|</a>    <a>|.)T");
    for (std::size_t i = 0; i < cells.size(); i += 2) {
        std::string body = bytesOf(cells[i]);
        std::vector<std::size_t> borders;
        for (std::size_t at = 0; (at = body.find('|', at)) != std::string::npos; body.erase(at, 1)) {
            borders.push_back(at);
        }
        EXPECT_EQ(bodyOf(body, borders), cells[i + 1]) << body;
    }
}

TEST(XMLReader, Prologs) {
    std::vector<WideString> cells = cellsOf(2, R"T(
        \s<?xml a="b"?>              Invaild data.                 <!xm                    Invaild data.
        \u00EF\u00BB\u00BF<?xml ?>   Invaild data.                 <?xm                    XML declaration not found.
        <?x                          Invaild data.                 <?xml a="b"? >          XML declaration not found.
        <?xmk a="b"?>                XML declaration not found.    <?xml a\0="b"?>         XML declaration not found.
        <?xmlx a="b"?>               XML declaration not found.    <?xml\u00A0 a="b"?>     XML declaration not found.
        <?xml a="b\0"?>              XML declaration not found.    <?xml a="b"?            XML declaration not found.
        <?xml ?>                     XML declaration not found.    <?xml x>     XML declaration not found.
        <?xml ?>x                    Invalid XML declaration.      <?xml x?>               Invalid element.(7)
        <?xml a="<"?>                Invalud attribute name.(9) : '<'    <?xml =""?>        Attribute name not found.(6)
        <?xml\ta="b"?>               \sa=b 1.0 utf-8 yes           <?xml a="b"?><a>        \sa=b 1.0 utf-8 yes
        <?xml version="1.1" encoding='uTf-8' Standalone = 'no'?>   \sversion=1.1 encoding=uTf-8 Standalone=no 1.1 uTf-8 no
        <?xml version="2" version="3"?>                            \sversion=2 version=3 3 utf-8 yes)T");
    cells.insert(cells.end(), {u"<?xml " + WideString(10240, u' ') + u"a=\"b\"?>", u"XML declaration not found."});
    const std::vector<WideString> once = {u"moraine::xml::DOM::XMLReader"}, twice = {once[0], once[0]};
    for (std::size_t i = 0; i < cells.size(); i += 2) {
        const WideString& outcome = cells[i + 1];
        Source source(bytesOf(cells[i]));
        XMLReader reader(&source);
        const auto read = [&] { reader.doRead(); };
        if (outcome.front() == u' ') {
            EXPECT_TRUE(reader.doRead());
            EXPECT_EQ(pieceOf(reader), u"D");
            EXPECT_TRUE(reader.doRead());
            const WideString fields = u" "s + reader.getVersion() + u" " + reader.getEncoding();
            EXPECT_EQ(pieceOf(reader) + fields + (reader.getStandalone() ? u" yes" : u" no"), u"?" + outcome);
        } else {
            for (const int reads : {1, 1}) {
                expectFailure<DataFormatException>(read, outcome, outcome.back() != u'.' ? twice : once);
                EXPECT_EQ(source.reads, reads) << "the declaration is looked for again";
            }
        }
    }
    Source empty(""), divided(head, {20}), foreign("<?xml encoding='latin-1'?>");
    expectFailure<io::IOException>([&] { XMLReader(&empty).doRead(); }, u"Data is empty.", once);
    expectFailure<DataFormatException>([&] { XMLReader(&divided).doRead(); }, u"XML declaration not found.", once);
    XMLReader stays(&foreign);
    for (int i = 0; i < 2; ++i) {
        expectFailure<lang::Exception>([&] { stays.doRead(); }, u"Unsupported encoding. : latin-1", twice);
    }
}

TEST(XMLReader, AccessorsInEveryState) {
    Source source(head + "<a b='1' c='2'>t</a>");
    XMLReader reader(&source);
    for (const WideString& failure : {u"Not parsed yet."s, u""s, u""s, u"Invalid XML data."s, u"Invalid XML data."s}) {
        if (failure.empty()) {
            EXPECT_EQ(reader.getVersion() + WideString(reader.getEncoding()), u"1.0UTF-8");
        } else {
            expectFailure<lang::UnsupportedOperationException>([&] { reader.getVersion(); }, failure);
            expectFailure<lang::UnsupportedOperationException>([&] { reader.getEncoding(); }, failure);
            expectFailure<lang::UnsupportedOperationException>([&] { reader.getStandalone(); }, failure);
        }
        const bool hasTwo = reader.getAttributeCount() == 2;
        expectFailure<lang::ArrayIndexOutBoundsException>([&] { reader.getAttributeName(2); },
                                                          hasTwo ? u"2 > 2" : u"2 > 0");
        expectFailure<lang::ArrayIndexOutBoundsException>([&] { reader.getAttributeValue(UINT_MAX); },
                                                          hasTwo ? u"4294967295 > 2" : u"4294967295 > 0");
        EXPECT_TRUE(reader.doRead());
    }
}

TEST(XMLReader, StreamsThatMisbehave) {
    // Twice: what the stream throws takes nothing, so that the second half of the log goes on where the first ended.
    const auto run = [&](int faultyRead, const std::function<unsigned int()>& fault) {
        Source source(head + "<a>text</a >", {head.size() + 5, head.size() + 9});
        source.faultyRead = faultyRead;
        source.fault = fault;
        XMLReader reader(&source);
        WideString log;
        for (int i = 0; i < 2; ++i) {
            try {
                while (reader.doRead()) {
                    log += u"|";
                }
                log += u".";
            } catch (const Oops&) {
                log += u"Oops";
            } catch (lang::Exception& e) {
                log += *e.getMessage();
            }
        }
        return log;
    };
    const WideString pieces[] = {u"", u"||", u"|||", u"||||", u"|||||"};
    const WideString atEnd[] = {u"Data is empty.|||||.", u"..", u"Invalid EOD.(38).", u"Invalid element.(38).", u".."};
    for (int i = 0; i < 5; ++i) {
        const WideString rest = pieces[4].substr(pieces[i].size()) + u".";
        EXPECT_EQ(run(i + 1, [] { return 0U; }), pieces[i] + atEnd[i]);
        EXPECT_EQ(run(i + 1, []() -> unsigned int { throw Oops(); }), pieces[i] + u"Oops" + rest);
        EXPECT_EQ(run(i + 1, [] { return 10241U; }), pieces[i] + u"The stream could not be read." + rest);
    }
    Source late(head + "\n\n<a =1/>", {head.size() + 4});
    late.faultyRead = 3, late.fault = []() -> unsigned int { throw Oops(); };
    XMLReader counts(&late);
    EXPECT_TRUE(counts.doRead() && counts.doRead());
    EXPECT_THROW(counts.doRead(), Oops);
    expectFailure<DataFormatException>([&] { counts.doRead(); }, u"Attribute name not found.(42)");
    Source zero("<?xml encoding='URL'?>%00%3Ca%00%00b%00%3E%00%3C/a%00%3E");
    EXPECT_EQ(allOf(zero), u"D|? encoding=URL|<a>|</a>|.");
    struct : Source {
        using Source::Source;
        void skip(long) override { throw io::IOException(u"x", 1); }
    } still(head + "<a/>");
    const WideString own = u"moraine::xml::DOM::XMLReader";
    XMLReader stuck(&still);
    for (int i = 0; i < 2; ++i) {
        expectFailure<lang::Exception>([&] { stuck.doRead(); }, u"", {u"x", own});
    }
    Source bad(head + "<a =1/>"), cut(head + "<a/>\xC3");
    XMLReader tells(&bad), reader(&cut);
    EXPECT_TRUE(tells.doRead() && tells.doRead() && reader.doRead() && reader.doRead() && reader.doRead());
    expectFailure<DataFormatException>([&] { tells.doRead(); }, u"Attribute name not found.(40)", {own, own});
    expectFailure<lang::IllegalArgumentException>([&] { reader.doRead(); }, u"", {u"moraine::text::UTF8Decoder"});
    const std::pair<std::string, WideString> rows[] = {{"BASE64'?>PGEvPjxi|Lz!8|Yy8+", u"'!'"},
                                                       {"URL'?>%00%3Ca%00/>|%0G%0000|%00%3Cb/>", u""},
                                                       {"UTF-8'?><a/>\xE2\x82", u""}};
    for (auto [text, message] : rows) {  // the block with the fault is gone, so nothing after it may be read
        std::vector<std::size_t> borders;
        text.insert(0, "<?xml encoding='");
        for (std::size_t at = 0; (at = text.find('|', at)) != std::string::npos; text.erase(at, 1)) {
            borders.push_back(at);
        }
        Source faulty(text, borders);
        XMLReader final(&faulty);
        const auto all = [&] {
            while (final.doRead()) {
            }
        };
        expectFailure<lang::IllegalArgumentException>(all, message);
        const WideString last = pieceOf(final);
        expectFailure<lang::IllegalArgumentException>(all, message);
        EXPECT_EQ(pieceOf(final), last);
    }
}

TEST(XMLReader, TheIndexHasTheSameMarksInEveryForm) {
    std::minstd_rand random;  // NOLINT(cert-msc51-cpp): the same units every time
    const WideString special = u"<>\"'=& \t\n\r\0"s;
    for (int round = 0; round < 200; ++round) {
        std::array<WideChar, 192> units{};
        for (WideChar& unit : units) {
            const unsigned int low = random() % 256;
            unit = static_cast<WideChar>(random() % 4 == 0 ? special[random() % special.size()]
                                                           : low | (random() % 3 == 0 ? random() % 256 << 8 : 0U));
        }
        std::array<xml::Marks, 3> rows{};
        xml::marks::markAll(units.data(), rows.size(), rows.data());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const xml::Marks wanted = xml::marks::scalar::mark(units.data() + 64 * i);
            for (const xml::Marks& found : {rows[i], xml::marks::baseline::mark(units.data() + 64 * i)}) {
                EXPECT_TRUE(found.angles == wanted.angles && found.white == wanted.white &&
                            found.quotes == wanted.quotes && found.equals == wanted.equals &&
                            found.references == wanted.references);
            }
        }
    }
}

}  // namespace
}  // namespace moraine::test
