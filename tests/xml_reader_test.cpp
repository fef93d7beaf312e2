#include "xml_support.h"

#include "moraine/io/IOException.h"
#include "moraine/io/MemoryInputStream.h"
#include "moraine/lang/ArrayIndexOutBoundsException.h"
#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/UnsupportedOperationException.h"
#include "moraine/text/EncoderManager.h"

namespace moraine::test {
namespace {

using namespace std::string_literals;
using io::DataFormatException;
using xml::DOM::XMLReader;

static_assert(!std::is_copy_constructible_v<XMLReader> && !std::is_copy_assignable_v<XMLReader>);

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
        for (const std::size_t size : {1UL, 2UL, 3UL, 5UL, 7UL}) {
            std::vector<std::size_t> borders;
            for (std::size_t at = 0; at < body.size() && body.find("<!--") == std::string::npos; at += size) {
                borders.push_back(at);
            }
            ASSERT_EQ(bodyOf(body, borders), outcome) << body << " in blocks of " << size;
        }
    }
}

TEST(XMLReader, Pieces) {
    expectRows(R"T(
        \e    .    \s\t\r\n\s\s    .    <a/><b/>    <a/>|<b/>|.    <a>    <a>|.
        <a b="1" c='2'>\n\s hello &amp; bye \s\n<b/><!-- note --><c></c></a>\n
            <a b=1 c=2>|'hello & bye\s\s\n'|<b/>|! note |<c>|</c>|</a>|.
        <a> <b>\n<c/>\t</b>\r\n<d></d> x <e/> y\t</a> <e/>    <a>|<b>|<c/>|</b>|<d>|</d>|'x '|<e/>|'y\t'|</a>|<e/>|.
        <a>x>y</a><a>&lt;&#65;&#x0;b</a>                     <a>|'x>y'|</a>|<a>|'<A'|</a>|.
        <!----><!-- a -- b --><!--->--><!--x--->             !~|! a -- b |!->|!x-|.
        <!--&lt;--><a><!-- > -> --></a><!--end-->            !<|<a>|! > -> |</a>|!end|.
        <a></a b="1" ><b></b >                               <a>|</a b=1>|<b>|</b>|.
        <a<b c="1"/><a<b /><a/b></a/b><a/ ></a/>             <a<b c=1/>|<a<b/>|<a/b>|</a/b>|<a/>|</a/>|.
        <1/><-a/><a:b/><a&amp;b/><a&lt;></a&#60;>            <1/>|<-a/>|<a:b/>|<a&b/>|<a<>|</a<>|.)T");
}

TEST(XMLReader, Attributes) {
    expectRows(R"T(
        <a /><b\tb="1"\n\r/><a b = "1"/><a b="1"c="2"/><a >   <a/>|<b b=1/>|<a b=1/>|<a b=1 c=2/>|<a>|.
        <a b="1" b="2"/><a \sb c\t=\n"1"/>                  <a b=1 b=2/>|<a b c=1/>|.
        <a b="it's" c='"'/><a b="" c="d"/><a b="" />        <a b=it's c="/>|<a b=~ c=d/>|<a b=~/>|.
        <a b="&lt;" &amp;=" &#65; "/><a /?b="/" c="/"/>     <a b=< &= A />|<a /?b=/ c=//>|.
        <a b=""/>       Invalid attribute value.(42)        <a b/>          Invalid element.(41)
        <a b />         Invalid element.(42)                <a b=/>         Invalid element.(42)
        <a b=c/>        Invalid element.(43)                <a =1/>         Attribute name not found.(40)
        <a b=="1"/>     Invalid attribute name.(42)         <a b=c="1"/>    Invalid attribute name.(43)
        <a "b"/>        Invalid attribute name.(40)         <a b"c"/>       Invalid attribute name.(41)
        <a b="1" "c"/>  Invalid attribute name.(46)         <a b=c"d"/>     Invalid attribute name.(43)
        <a b="c/>       Invalid attribute value.(42)        <a b="<"/>      Invalud attribute name.(43) : '<'
        <a b="x>y"/>    Invalid attribute value.(42)        <a <b="1"/>     Invalud attribute name.(40) : '<'
        <a b="xyz>w">   Invalid attribute value.(42)        <ab =1/>        Attribute name not found.(41)
        <a></a =1>      <a>|Attribute name not found.(40)   <a></a b>       <a>|Invalid element.(41))T");
}

TEST(XMLReader, Refusals) {
    expectRows(R"T(
        <a><b>         <a>|<b>|Invalid element tree..       <a><b/>         <a>|<b/>|Invalid element tree..
        <a><!--c-->    <a>|!c|Invalid element tree..        <a>x            <a>|Invalid EOD.(38).
        text           Invalid text.(38)                    <a/>x           <a/>|Invalid text.(38)
        <              Invalid element.(38).                <a              Invalid element.(38).
        </             Invalid element.(38).                <a b            Invalid element.(38).
        <!x>           Unsupported element type.(38) '!'    <!DOCTYPE a>    Unsupported element type.(38) '!'
        <!-x-->        Unsupported element type.(38) '!'    <![CDATA[a]]>   Unsupported element type.(38) '!'
        <?pi x?>       Unsupported element type.(38) '?'    <[x>            Unsupported element type.(38) '['
        <!--x          Invalid comment.(38).                <!-->           Invalid comment.(38).
        < a>           Invalid element name.(38) ' '        <\ta>           Invalid element name.(38)
        <\na b="1">    Invalid element name.(38)            <"a"/>          Invalid element name.(38) '"'
        <a=b/>         Invalid element name.(38) 'a'        <ab' c="1"/>    Invalid element name.(38) 'a'
        <a<b/>         Invalid element name.(38) 'a'        <a/><=/>        <a/>|Invalid element name.(38) '='
        <a></a=b>      <a>|Invalid element name.(38) '/'    <a></a<>        <a>|Invalid element name.(38) '/'
        <a><>b</a>     <a>|Element name not found.(38) '>'  <a></>          <a>|Element name not found.(38) '/'
        <a></ a>       <a>|Element name not found.(38)      <a></b>         <a>|Invalid element tree.(38)
        <a></aa>       <a>|Invalid element tree.(38)        <a></a></a>     <a>|</a>|Invalid element tree.(38))T");
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
    for (const std::size_t length :
         {10234U, 10235U, 10236U, 20476U, 20477U, 20478U}) {  // blocks of the reader's own size
        EXPECT_EQ(bodyOf("<a>" + std::string(length, 'x') + "</a>"), u"<a>|'" + WideString(length, u'x') + u"'|</a>|.");
        EXPECT_EQ(bodyOf("<!--" + std::string(length, '-') + "-->"), u"!" + WideString(length, u'-') + u"|.");
    }
    EXPECT_EQ(bodyOf(std::string(20475, ' ') + "x"), u"Invalid text.(10273)");
}

TEST(XMLReader, Prologs) {
    std::vector<WideString> cells = cellsOf(2, R"T(
        \e                           Data is empty.                <?x                     Invaild data.
        \s<?xml a="b"?>              Invaild data.                 <!xm                    Invaild data.
        \u00EF\u00BB\u00BF<?xml ?>   Invaild data.                 <?xm                    XML declaration not found.
        <?xml ?>                     XML declaration not found.    <?xml\s ?               XML declaration not found.
        <?xmlx a="b"?>               XML declaration not found.    <?xml\u00A0 a="b"?>     XML declaration not found.
        <?xmx a="b"?>                XML declaration not found.    <?xml version="1.0">    XML declaration not found.
        <?xml a="1.0" a="?"?>        XML declaration not found.    <?xml a="b"?            XML declaration not found.
        <?xml a="b\0"?>              XML declaration not found.    <?xml\s ?>              Invalid XML declaration.
        <?xml ?>x                    Invalid XML declaration.      <?xml x?>               Invalid element.(7)
        <?xml a="<"?>                Invalud attribute name.(9) : '<'    <?xml =""?>        Attribute name not found.(6)
        <?xml version=1?>            Invalid element.(15)          <?xml a=""?>            Invalid attribute value.(8)
        <?xml encoding="latin-1"?>   Unsupported encoding. : latin-1    <?xml encoding="" a="b"?>    Unsupported encoding. :\s
        <?xml\ta="b"?>               \sa=b 1.0 utf-8 yes           <?xml a="b"?><a>        \sa=b 1.0 utf-8 yes
        <?xml version="1.1" encoding='uTf-8' Standalone = 'no'?>   \sversion=1.1 encoding=uTf-8 Standalone=no 1.1 uTf-8 no
        <?xml version="" encoding="UTF-8"?>                        \sversion=~ encoding=UTF-8\s UTF-8 yes
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
        } else if (cells[i].empty()) {
            expectFailure<io::IOException>(read, outcome, once);
        } else if (outcome.front() == u'U') {
            expectFailure<lang::Exception>(read, outcome, twice);
        } else {
            expectFailure<DataFormatException>(read, outcome, outcome.back() != u'.' ? twice : once);
        }
    }
    Source divided(head, {20});
    expectFailure<DataFormatException>([&] { XMLReader(&divided).doRead(); }, u"XML declaration not found.");
    Source tags(head + "<a b/>");
    XMLReader reader(&tags);
    EXPECT_TRUE(reader.doRead() && reader.doRead());
    expectFailure<DataFormatException>([&] { reader.doRead(); }, u"Invalid element.(41)", twice);
}

TEST(XMLReader, AccessorsInEveryState) {
    Source source(head + "<a b='1' c='2'>t</a>"), empty(head);
    XMLReader reader(&source), atEnd(&empty);
    const std::vector<WideString> cells = cellsOf(3, R"T(
        D          Not parsed yet.      0    D    \e                   0    ? version=1.0 encoding=UTF-8  \e  2
        <a b=1 c=2>  Invalid XML data.  2    't'  Invalid XML data.    0    </a>  Invalid XML data.  0)T"),
                                  layers = {u"moraine::xml::DOM::XMLReader"};
    for (std::size_t i = 0; i < cells.size(); i += 3, reader.doRead()) {
        EXPECT_EQ(pieceOf(reader), cells[i]);
        if (const WideString& failure = cells[i + 1]; !failure.empty()) {
            expectFailure<lang::UnsupportedOperationException>([&] { reader.getVersion(); }, failure, layers);
            expectFailure<lang::UnsupportedOperationException>([&] { reader.getEncoding(); }, failure, layers);
            expectFailure<lang::UnsupportedOperationException>([&] { reader.getStandalone(); }, failure, layers);
        } else {
            EXPECT_EQ(reader.getVersion() + WideString(reader.getEncoding()), u"1.0UTF-8");
        }
        const unsigned int count = cells[i + 2][0] - u'0';
        const WideString message = u" > " + cells[i + 2], farOff = u"4294967295" + message;
        expectFailure<lang::ArrayIndexOutBoundsException>([&] { reader.getAttributeName(count); },
                                                          cells[i + 2] + message);
        expectFailure<lang::ArrayIndexOutBoundsException>([&] { reader.getAttributeValue(count); },
                                                          cells[i + 2] + message);
        expectFailure<lang::ArrayIndexOutBoundsException>([&] { reader.getAttributeName(4294967295U); }, farOff,
                                                          layers);
    }
    EXPECT_TRUE(atEnd.doRead() && atEnd.doRead() && !atEnd.doRead() && atEnd.getStandalone());
}

TEST(XMLReader, OtherEncodings) {
    const WideString body = u"<a b=\"\u00E91\">t&amp;</a>", outcome = u"<a b=\u00E91>|'t&'|</a>|.";
    for (const WideString& name : {u"BASE64"s, u"url"s}) {
        const std::unique_ptr<text::IEncoder> encoder(text::EncoderManager().getEncoder(name.c_str()));
        const std::string bytes = *encoder->doEncodeW2M(body.data(), static_cast<unsigned int>(body.size()), true);
        const std::string start = "<?xml encoding='" + std::string(name.begin(), name.end()) + "'?>";
        const auto read = [&](std::size_t cut) {
            Source source(start + bytes, {start.size() + cut});
            const WideString all = allOf(source);
            return all.substr(all.find(u'|', 2) + 1);
        };
        // The first block gives no text below these sizes, and the last one none if only held characters are left.
        const std::size_t first = name == u"url" ? 6 : 5, last = bytes.size() - (name == u"url" ? 1 : 4);
        for (std::size_t cut = first; cut <= last; ++cut) {
            EXPECT_EQ(read(cut), outcome) << cut;
        }
        EXPECT_EQ(read(0), outcome);
        EXPECT_EQ(read(first - 1), u".");
    }
}

TEST(XMLReader, StreamsThatMisbehave) {
    struct Oops {};
    const auto run = [&](int faultyRead, const std::function<unsigned int()>& fault) {
        Source source(head + "<a>text</a >", {head.size() + 5, head.size() + 9});
        source.faultyRead = faultyRead;
        source.fault = fault;
        XMLReader reader(&source);
        WideString log;
        try {
            while (reader.doRead()) {
                log += u"|";
            }
            return log;
        } catch (const Oops&) {
            return log + u"Oops";
        } catch (lang::Exception& e) {
            return log + *e.getMessage();
        }
    };
    const WideString pieces[] = {u"", u"||", u"|||", u"||||", u"|||||"};
    const WideString atEnd[] = {u"Data is empty.", u"", u"Invalid EOD.(38)", u"Invalid element.(38)", u""};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(run(i + 1, [] { return 0U; }), pieces[i] + atEnd[i]);
        EXPECT_EQ(run(i + 1, []() -> unsigned int { throw Oops(); }), pieces[i] + u"Oops");
        EXPECT_EQ(run(i + 1, [] { return 10241U; }), pieces[i] + u"The stream could not be read.");
        EXPECT_EQ(run(i + 1, [] { return 4294967295U; }), pieces[i] + u"The stream could not be read.");
    }
    Source source(head + "<a/>");
    source.onSkip = [] { io::MemoryInputStream().skip(-1); };
    expectFailure<lang::Exception>([&] { XMLReader(&source).doRead(); },
                                   u"The range of the data was exceeded. : -1 < 0",
                                   {u"moraine::io::MemoryInputStream", u"moraine::xml::DOM::XMLReader"});
    Source still(head + "<a/>");
    still.onSkip = [] {};
    EXPECT_EQ(allOf(still), headPieces + u".");
    Source cut(head + "<a/>\xC3");
    XMLReader reader(&cut);
    EXPECT_TRUE(reader.doRead() && reader.doRead() && reader.doRead());
    expectFailure<lang::IllegalArgumentException>([&] { reader.doRead(); }, u"", {u"moraine::text::UTF8Decoder"});
}

/// A text in which a long run of one unit is that unit, "*" and how many.
WideString counted(const WideString& text) {
    WideString result;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find_first_not_of(text[at], at), text.size());
        if (end - at > 1000) {
            text::appendDecimal(result.append({text[at], u'*'}), static_cast<long>(end - at));
        } else {
            result.append(text, at, end - at);
        }
        at = end;
    }
    return result;
}

TEST(XMLReader, LongTokens) {
    const std::vector<WideString> cells = cellsOf(4, R"T(
        <a>     x  </a>   <a>|'x*16777216'|</a>|.    <a>    &   </a>    <a>|'&*16777216'|</a>|.
        \e      \s  <a/>   <a/>|.                      <!--   -   ->      !-*16777215|.
        <!--    >  -->    !>*16777216|.              <a b='  x  ' />    <a b=x*16777216/>|.
        <a\s    b  ='1'/>  <a b*16777216=1/>|.        <      a   />      <a*16777216/>|.
        <a></   a  >      <a>|Invalid element tree.(38)    <a\s  \s  ><b>  <a>|<b>|Invalid element tree..
        <a>     x  \e     <a>|Invalid EOD.(38).)T");
    for (std::size_t i = 0; i < cells.size(); i += 4) {
        const std::string filler(16777216, bytesOf(cells[i + 1])[0]);
        EXPECT_EQ(counted(bodyOf(bytesOf(cells[i]) + filler + bytesOf(cells[i + 2]))), cells[i + 3]);
    }
}

TEST(XMLReader, ManyOfAKind) {
    constexpr int many = 1000000;
    const auto times = [](int count, const std::string& text) {
        std::string result;
        for (int i = 0; i < count; ++i) {
            result += text;
        }
        return result;
    };
    const std::string opened = times(many, "<a>"), attributes = times(100000, " b=1");
    const WideString read = bodyOf(opened + times(many, "</a>"));
    EXPECT_EQ(std::count(read.begin(), read.end(), u'|'), 2 * many);
    EXPECT_EQ(read.back(), u'.');
    EXPECT_EQ(bodyOf(opened).substr(4UL * many), u"Invalid element tree..");  // they end with the reader
    EXPECT_EQ(bodyOf("<a" + times(100000, " b='1'") + "/>"),
              u"<a" + WideString(attributes.begin(), attributes.end()) + u"/>|.");
}

}  // namespace
}  // namespace moraine::test
