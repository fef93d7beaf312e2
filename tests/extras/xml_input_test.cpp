// What becomes of each construct, and how faults are told; tables.

#include <random>

#include "moraine/extras/XmlInputStream.h"
#include "moraine/io/DataFormatException.h"
#include "moraine/io/IOException.h"
#include "moraine/io/MemoryInputStream.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/xml/DOM/XMLReader.h"

#include "extras_support.h"

using namespace moraine;
using namespace moraine::test;
using extras::WhiteSpace;
using namespace std::string_literals;

namespace {

const std::string head = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";

std::string converted(const std::string& document, WhiteSpace white = WhiteSpace::drop, std::size_t block = 1 << 20) {
    Blocks blocks(document, block);
    extras::XmlInputStream xml(blocks, white);
    return drain(xml);
}

/// Bytes of UTF-16.
std::string wide(const std::string& text, bool little, bool mark) {
    std::string bytes;
    for (const WideChar unit : (mark ? u"\ufeff"s : u""s) + extras::fromUtf8(text)) {
        const char high = static_cast<char>(unit >> 8);
        const char low = static_cast<char>(unit & 0xff);
        bytes += little ? std::string{low, high} : std::string{high, low};
    }
    return bytes;
}

/// A document and the form that it gets, without the declaration that stands in front of it.
struct Case {
    std::string document, form;
};

TEST(XmlInput, Forms) {
    const Case cases[] = {
        // What is passed over, and what text joins across.
        {"<a/>", "<a/>"},
        {"\n<!--c--> <?p i?>\n<a/>\n<?p?><!--d-->\n", "<!--c--><a/><!--d-->"},
        {"<!DOCTYPE a [<!ENTITY x ']>'><!-- ]> ' --><?p ]> \"?>%q;]><a/>", "<a/>"},
        {"<a>x<?p >?>y<![CDATA[<&>]]>z</a>", "<a>xy&lt;&amp;&gt;z</a>"},
        {"<a><![CDATA[]]></a>", "<a></a>"},
        {"<a><![CDATA[]] ]]]]></a>", "<a>]] ]]</a>"},
        // Values.
        {"<a b=''/>", "<a b='' />"},
        {"<a b=\"\"></a>", "<a b=\"\" ></a>"},
        {"<a b='' c=\"1\"/>", "<a b='' c=\"1\"/>"},
        {"<a b = 'x>y'\n c='&#62;&gt;\">'/>", "<a b='x&gt;y' c='&gt;&gt;\"&gt;'/>"},
        {"<a b='1\t2\n3\r\n4&#9;&#10;&#xD;&#32;5'/>", "<a b='1 2 3 4&#9;&#10;&#13; 5'/>"},
        {"<a b='&#39;&quot;&#34;'/>", "<a b='&apos;&quot;&quot;'/>"},
        // Line ends.
        {"<a>1\r\n2\r3\n4</a>", "<a>1\n2\n3\n4</a>"},
        {"<a>1&#13;2&#13;\n</a>", "<a>1&#13;2&#13;\n</a>"},
        // White-space at the start of a text, and texts of nothing else.
        {"<a> x </a>", "<a>&#32;x </a>"},
        {"<a>\n\tx<b/>\r\n y</a>", "<a>&#10;\tx<b/>&#10; y</a>"},
        {"<a> <!--c--> <?p?> <![CDATA[ ]]> </a>", "<a> <!--c-->&#32;   </a>"},
        {"<a><b> &#32; </b>&#32;</a>", "<a><b>&#32;  </b>&#32;</a>"},
        {"<a><![CDATA[\n]]><![CDATA[ \t]]></a>", "<a>&#10; \t</a>"},
        // References.
        {"<a>&#60;&#x3c;&#38;lt;&#38;&#x00023;65;&#x0000041;&#000000065;</a>", "<a>&lt;&lt;&amp;lt;&amp;#65;AA</a>"},
        {"<a>&#x1F600;\xf0\x9f\x98\x80</a>", "<a>\xed\xa0\xbd\xed\xb8\x80\xed\xa0\xbd\xed\xb8\x80</a>"},
        {"<a>&#" + std::string(5000, '0') + "65;</a>", "<a>A</a>"},
        // Comments.
        {"<a><!--&lt;<&x;>--></a>", "<a><!--&amp;lt;<&amp;x;>--></a>"},
        {"<!----><a/><!-- - -->", "<!----><a/><!-- - -->"},
        // Text with brackets.
        {"<a>]]</a>", "<a>]]</a>"},
        {"<a>]]&gt;]]<b/>>></a>", "<a>]]&gt;]]<b/>&gt;&gt;</a>"},
        {"<a>]<?p?>]></a>", "<a>]]&gt;</a>"},
        // Names.
        {"<\xc3\xa9 \xf0\x90\x80\x80='1'/>", "<\xc3\xa9 \xed\xa0\x80\xed\xb0\x80='1'/>"},
        {"<a ></a\n>", "<a></a>"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.document.substr(0, 200));
        // What the reader drops may stay.
        const auto tight = [](std::string text) {
            for (const std::string white : {" <", "\n<"}) {
                for (auto at = text.find(">" + white); at != std::string::npos; at = text.find(">" + white)) {
                    text.erase(at + 1, 1);
                }
            }
            return text;
        };
        for (const std::size_t block : {1U << 20, 1U, 2U, 3U, 5U}) {
            EXPECT_EQ(tight(converted(c.document, WhiteSpace::drop, block)), tight(head + c.form)) << block;
        }
    }
}

TEST(XmlInput, KeepsWhiteSpaceByChoice) {
    for (const std::size_t block : {1000U, 1U}) {
        EXPECT_EQ(converted("\n<a> <b>\t\n</b>\r\n<!--c-->x<?p?> </a>\n", WhiteSpace::keep, block),
                  head + "<a>&#32;<b>&#9;\n</b>&#10;<!--c-->x </a>");
    }
}

TEST(XmlInput, Declarations) {
    const Case cases[] = {
        {"<?xml version='1.0'?>", "<?xml version=\"1.0\" encoding=\"utf-8\"?>"},
        {"<?xml\n version = \"1.0\"\tencoding='Utf-8' standalone = 'no' ?>",
         "<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"no\"?>"},
        {"<?xml version='1.17' standalone='yes'?>", "<?xml version=\"1.17\" encoding=\"utf-8\" standalone=\"yes\"?>"},
        {"\xef\xbb\xbf<?xml version='1.0' encoding='utf-8'?>", head},
        {"\xef\xbb\xbf", head},
        {"<?xml-stylesheet href='?'?>", head},
        {"<?xml version='1.0' encoding='us-ascii'?>", head},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(converted(c.document + "<a/>"), c.form + "<a/>") << c.document;
        EXPECT_EQ(converted(c.document + "<a/>", WhiteSpace::drop, 1), c.form + "<a/>") << c.document;
    }
}

TEST(XmlInput, Encodings) {
    const std::string content = "<\xc3\xa9>\xc3\xbf\r\n\r\xe2\x82\xac\xf0\x9f\x98\x80</\xc3\xa9>";
    const std::string form = head + "<\xc3\xa9>\xc3\xbf\n\n\xe2\x82\xac\xed\xa0\xbd\xed\xb8\x80</\xc3\xa9>";
    const Case cases[] = {
        {content, form},
        {wide(content, true, true), form},
        {wide(content, false, true), form},
        {wide("<?xml version='1.0' encoding='UTF-16'?>" + content, true, false), form},
        {wide("<?xml version='1.0' encoding='utf-16be'?>" + content, false, true), form},
        {"<?xml version='1.0' encoding='iso-8859-1'?><\xe9>\xff\r\n\x80</\xe9>",
         head + "<\xc3\xa9>\xc3\xbf\n\xc2\x80</\xc3\xa9>"},
    };
    for (const Case& c : cases) {
        for (const std::size_t block : {1000U, 1U, 2U, 3U}) {
            EXPECT_EQ(converted(c.document, WhiteSpace::drop, block), c.form);
        }
    }
}

TEST(XmlInput, Faults) {
    const Case cases[] = {
        {"", "There is no root element. : line 1, column 1"},
        {"<!-- -->\n ", "There is no root element. : line 2, column 2"},
        {"x<a/>", "Text outside of the root element. : line 1, column 1"},
        {"<a/>\n &amp;", "Text outside of the root element. : line 2, column 2"},
        {"<a/><![CDATA[]]>", "Markup that is not known, or not allowed here. : line 1, column 5"},
        {"<a/><b/>", "A second root element. : line 1, column 5"},
        {"<a>\n\xf0\x9f\x98\x80\xc3\xa9&nbsp;</a>", "Undeclared entity 'nbsp'. : line 2, column 3"},
        {"<!DOCTYPE a [<!ENTITY e 'x'>]><a b='&e;'/>", "Undeclared entity 'e'. : line 1, column 37"},
        {"<a>&" + std::string(200, 'e') + ";</a>",
         "Undeclared entity '" + std::string(96, 'e') + "...'. : line 1, column 4"},
        {"<a>\r\n\r\n&;</a>", "'&' begins no reference. : line 3, column 1"},
        {"<a>& b</a>", "'&' begins no reference. : line 1, column 4"},
        {"<a>&lt</a>", "'&' begins no reference. : line 1, column 4"},
        {"<a>&#;</a>", "'&#' begins no reference. : line 1, column 4"},
        {"<a>&#x;</a>", "'&#' begins no reference. : line 1, column 4"},
        {"<a>&#12a;</a>", "'&#' begins no reference. : line 1, column 4"},
        {"<a>&#0;</a>", "A reference to a character that is not allowed. : line 1, column 4"},
        {"<a>&#xD800;</a>", "A reference to a character that is not allowed. : line 1, column 4"},
        {"<a>&#99999999999999999999;</a>", "A reference to a character that is not allowed. : line 1, column 4"},
        {"<a>\rb]]></a>", "']]>' in a text. : line 2, column 4"},
        {"<a><!-- a -- b --></a>", "'--' in a comment. : line 1, column 11"},
        {"<a><!-- a --->", "'--' in a comment. : line 1, column 11"},
        {"<a><!-x-></a>", "Markup that is not known, or not allowed here. : line 1, column 7"},
        {"<a>\n<b></c>", "End tag 'c' for element 'b'. : line 2, column 4"},
        {"<a></ab>", "End tag 'ab' for element 'a'. : line 1, column 4"},
        {"<a></>", "A tag is not well formed. : line 1, column 4"},
        {"</a>", "An end tag without a start tag. : line 1, column 1"},
        {"<a b='1' c='2' b='3'/>", "Attribute 'b' stands there twice. : line 1, column 21"},
        {"<a b='<'/>", "'<' in a value. : line 1, column 7"},
        {"<a b='1'c='2'/>", "A tag is not well formed. : line 1, column 9"},
        {"<a b/>", "A tag is not well formed. : line 1, column 5"},
        {"<a b=c/>", "A tag is not well formed. : line 1, column 6"},
        {"<a/ >", "A tag is not well formed. : line 1, column 4"},
        {"< a/>", "'<' begins no markup. : line 1, column 1"},
        {"<1/>", "'<' begins no markup. : line 1, column 1"},
        {"<a \xcb\xbf='1' \xcd\xbe='1'/>", "A tag is not well formed. : line 1, column 10"},
        {"<a>\x01</a>", "Illegal character U+0001. : line 1, column 4"},
        {"<a>x\xef\xbf\xbf</a>", "Illegal character U+FFFF. : line 1, column 5"},
        {"<a>\n"s + '\0' + "</a>", "Illegal character U+0000. : line 2, column 1"},
        {"<a>\xed\xa0\x80</a>", "Malformed UTF-8. : line 1, column 4"},
        {"<a>x\xc3", "Malformed UTF-8. : line 1, column 5"},
        {wide("<a>", true, true) + "x", "Malformed UTF-16. : line 1, column 4"},
        {wide("<a>", false, true) + "\xdc\x01\xdc\x02", "Malformed UTF-16. : line 1, column 4"},
        {"<?xml version='1.0' encoding='us-ascii'?>\n<a>\xe9</a>", "Malformed US-ASCII. : line 2, column 4"},
        // What is not closed.
        {"<a>\n<b>x</b>\n", "Element 'a' is not closed. : line 3, column 1"},
        {"<a b='1", "A tag is not well formed. : line 1, column 8"},
        {"<a", "A tag is not well formed. : line 1, column 3"},
        {"<a>&#1", "'&#' begins no reference. : line 1, column 7"},
        {"<a><!-- x -", "A comment is not closed. : line 1, column 12"},
        {"<a><![CDATA[ x ]]", "A CDATA section is not closed. : line 1, column 18"},
        {"<a><?p x?", "A processing instruction is not well formed. : line 1, column 10"},
        {"<!DOCTYPE a [<!ENTITY x 'y>]><a/>", "The document type is not well formed. : line 1, column 34"},
        // Processing instructions and the document type.
        {"<a/><?XmL x?>", "A declaration that is not at the start. : line 1, column 7"},
        {" <?xml version='1.0'?><a/>", "A declaration that is not at the start. : line 1, column 4"},
        {"<?p?x?><a/>", "A processing instruction is not well formed. : line 1, column 5"},
        {"<? p?><a/>", "A processing instruction is not well formed. : line 1, column 3"},
        {"<a/><!DOCTYPE a>", "Markup that is not known, or not allowed here. : line 1, column 5"},
        {"<!DOCTYPE a><!DOCTYPE a><a/>", "Markup that is not known, or not allowed here. : line 1, column 13"},
        {"<!DOCTYPE a PUBLIC '{' 'x'><a/>", "The document type is not well formed. : line 1, column 21"},
        {"<!DOCTYPE a SYSTEM x><a/>", "The document type is not well formed. : line 1, column 20"},
        {"<!DOCTYPE a [<!WRONG x>]><a/>", "The document type is not well formed. : line 1, column 14"},
        {"<!DOCTYPE a [ x ]><a/>", "The document type is not well formed. : line 1, column 15"},
        // Declarations.
        {"<?xml ?><a/>", "The declaration is not well formed. : line 1, column 6"},
        {"<?xml version='2.0'?><a/>", "The version is none of XML 1. : line 1, column 20"},
        {"<?xml version='1.0' standalone='maybe'?><a/>",
         "The value of standalone is neither yes nor no. : line 1, column 39"},
        {"<?xml version='1.0' standalone='no' encoding='utf-8'?><a/>",
         "The declaration is not well formed. : line 1, column 37"},
        {"\xef\xbb\xbf<?xml version='1.0' encoding='iso-8859-1'?><a/>",
         "The document's encoding is not 'iso-8859-1'. : line 1, column 31"},
        {"<?xml version='1.0' encoding='utf-16'?><a/>", "The document's encoding is not 'utf-16'. : line 1, column 31"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.document.substr(0, 200));
        for (const std::size_t block : {1U << 20, 1U, 3U}) {
            Blocks blocks(c.document, block);
            extras::XmlInputStream xml(blocks);
            expectFailure<io::DataFormatException>([&] { drain(xml); }, extras::fromUtf8(c.form),
                                                   {u"moraine::extras::XmlInputStream"});
            // The place can be asked for, and the failure stays.
            const std::string place =
                " : line " + std::to_string(xml.line()) + ", column " + std::to_string(xml.column());
            const bool inDeclaration = c.form.find("encoding") != std::string::npos;
            EXPECT_TRUE(inDeclaration || c.form.find(place) != std::string::npos) << place;
            EXPECT_EQ(failureOf([&] { drain(xml); }), c.form);
        }
    }
    Blocks unknown("<?xml version=\"1.0\" encoding=\"koi8-r\"?><a/>");
    extras::XmlInputStream xml(unknown);
    expectFailure<text::UnsupportedEncodingException>([&] { drain(xml); },
                                                      u"Unsupported encoding 'koi8-r'. : line 1, column 31");
}

// What stands in front of a fault can be read before it is told.
TEST(XmlInput, HandsOutWhatIsGood) {
    Blocks blocks("<a><b>x</b>&bad;</a>");
    extras::XmlInputStream xml(blocks);
    xml::DOM::XMLReader reader(&xml);
    int pieces = 0;
    EXPECT_EQ(failureOf([&] {
                  while (reader.doRead()) {
                      ++pieces;
                  }
              }),
              "Undeclared entity 'bad'. : line 1, column 12");
    EXPECT_EQ(pieces, 6);
}

// Nothing is waited for while there is something to hand out.
TEST(XmlInput, DoesNotWait) {
    Blocks blocks("<a><b>text</b><!--c--><c d='e'>", 1);
    extras::XmlInputStream xml(blocks);
    std::string seen;
    char buffer[10240];
    while (seen.find("</b>") == std::string::npos) {
        seen.append(buffer, xml.read(buffer, sizeof buffer));
    }
    EXPECT_EQ(blocks.position, 14U);
}

TEST(XmlInput, MovesBackAndForth) {
    std::string document = "<a>";
    for (int i = 0; i < 20000; ++i) {
        document += "<b c='" + std::to_string(i) + "'>text &#x1F600;</b>";
    }
    document += "</a>";
    const std::string all = converted(document);
    Blocks blocks(document, 5000);
    extras::XmlInputStream xml(blocks);
    std::mt19937 random(1);
    std::size_t position = 0;
    while (position < all.size()) {
        const long back = -static_cast<long>(random() % (std::min<std::size_t>(position, 10240) + 1));
        const long move = random() % 3 == 0 ? static_cast<long>(random() % 30000) : back;
        if (move > static_cast<long>(all.size() - position)) {
            break;
        }
        xml.skip(move);
        position += static_cast<std::size_t>(move);
        char buffer[20000];
        const unsigned int count = xml.read(buffer, 1 + static_cast<unsigned int>(random() % sizeof buffer));
        ASSERT_EQ(std::string(buffer, count), all.substr(position, count)) << position;
        position += count;
    }
    EXPECT_EQ(failureOf([&] { xml.skip(-100000000); }), "The range of the data was exceeded. : -100000000");
    EXPECT_EQ(failureOf([&] { xml.skip(100000000); }), "The range of the data was exceeded. : 100000000");
    EXPECT_EQ(drain(xml), "");
}

TEST(XmlInput, ClosesAndFails) {
    Blocks blocks("<a/>");
    extras::XmlInputStream xml(blocks);
    char buffer[100];
    EXPECT_EQ(xml.read(buffer, 0), 0U);
    EXPECT_EQ(blocks.reads, 0);
    xml.close();
    xml.close();
    EXPECT_EQ(blocks.closes, 1);
    expectFailure<io::IOException>([&] { xml.read(buffer, 100); }, u"The stream is closed.");

    struct Socket : io::InputStream {
        unsigned int read(char*, unsigned int) override { return static_cast<unsigned int>(-1); }
        void close() override {}
        void skip(long) override {}
    } socket;
    extras::XmlInputStream failing(socket);
    expectFailure<io::IOException>([&] { failing.read(buffer, 100); }, u"The stream could not be read.");
}

// Long things of all kinds: time and memory in proportion, and no recursion.
TEST(XmlInput, LongThings) {
    const std::size_t many = 200000;
    const auto repeated = [&](const std::string& what) {
        std::string all;
        for (std::size_t i = 0; i < many; ++i) {
            all += what;
        }
        return all;
    };
    std::string attributes;
    for (std::size_t i = 0; i < many; ++i) {
        attributes += " a" + std::to_string(i * 7919 % many) + "='1'";
    }
    const std::string documents[] = {
        repeated("<a>") + repeated("</a>"),
        "<a" + attributes + "/>",
        "<a>" + repeated(">>>>>>>>>>") + "</a>",
        "<a>" + repeated("          ") + "</a>",
        "<a>" + repeated("          ") + "x</a>",
        "<a b='" + repeated("&#10;\t>") + "'/>",
        "<!--" + repeated("- &x; ") + "--><a/>",
        "<a><![CDATA[" + repeated("]]] ]>") + "]]></a>",
        "<" + repeated("n") + "/>",
        "<?p " + repeated("? ") + "?><!DOCTYPE a [" + repeated("<!-- - --> ") + "]><a/>",
    };
    for (const std::string& document : documents) {
        Blocks blocks(document);
        extras::XmlInputStream xml(blocks);
        xml::DOM::XMLReader reader(&xml);
        EXPECT_EQ(failureOf([&] {
                      while (reader.doRead()) {
                      }
                  }),
                  "")
            << document.substr(0, 20);
    }
    EXPECT_EQ(failureOf([&] { converted("<a" + attributes + " a77='2'/>"); }).substr(0, 35),
              "Attribute 'a77' stands there twice.");
}

}  // namespace
