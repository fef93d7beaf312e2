// Documents of others, and made-up ones with all that XML has, against Expat.

#include <cstdlib>
#include <random>

#include "moraine/io/DataFormatException.h"
#include "moraine/io/FileInputStream.h"

#include "xml_oracle.h"

#ifdef MORAINE_TESTS_HAVE_EXPAT

using namespace moraine;
using namespace moraine::test;
using extras::WhiteSpace;

namespace {

constexpr WhiteSpace both[] = {WhiteSpace::drop, WhiteSpace::keep};

/// MORAINE_CORPUS may name a folder with XML files; the smaller ones are cut into blocks of odd sizes too.
TEST(XmlCorpus, HoldsWhatExpatReports) {
    std::vector<std::filesystem::path> files{std::filesystem::path(MORAINE_TESTS_EXAMPLE)};
    if (const char* const folder = std::getenv("MORAINE_CORPUS")) {  // NOLINT(concurrency-mt-unsafe): one thread
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            files.push_back(entry.path());
        }
    }
    for (const auto& file : files) {
        const std::string document = test::contentOf(file);
        SCOPED_TRACE(file);
        for (const WhiteSpace white : both) {
            Oracle oracle(document, white);
            ASSERT_EQ(oracle.error, XML_ERROR_NONE) << oracle.place;
            const std::string wanted = oracle.content.all();
            for (const std::size_t block : {1U << 20, 1U, 7U, 4093U}) {
                if (block > 1000 || document.size() < 200000) {
                    Blocks blocks(document, block);
                    ASSERT_TRUE(contentOf(blocks, white) == wanted) << block;
                }
            }
            io::FileInputStream stream(file.u16string().c_str());
            ASSERT_TRUE(contentOf(stream, white) == wanted);
        }
    }
}

/// Makes documents at random.
class Maker {
public:
    explicit Maker(unsigned int seed) : random(seed) {}

    std::string document() {
        static const char* const names[] = {"UTF-8",    "",         "utf-8",      "UTF-16",
                                            "utf-16le", "UTF-16BE", "ISO-8859-1", "US-ASCII"};
        const std::string encoding = names[below(8)];
        wide = encoding.find("16") != std::string::npos;
        largest = encoding[0] == 'I' ? 0xff : encoding.find("ASCII") != std::string::npos ? 0x7f : 0x10ffff;
        little = encoding.find("le") != std::string::npos || (encoding == "UTF-16" && chance(2));
        mark = wide ? true : largest > 0xff && chance(4);
        if (!encoding.empty() || chance(2)) {
            text +=
                U"<?xml version=" + inQuotes(U"1.0") +
                (encoding.empty() ? U""
                                  : white(1) + U"encoding" + equals() + inQuotes({encoding.begin(), encoding.end()})) +
                (chance(3) ? white(1) + U"standalone=" + inQuotes(chance(2) ? U"yes" : U"no") : U"") + white(0) + U"?>";
        }
        misc();
        if (chance(3)) {
            typeBegin = bytesOf(text).size();
            documentType();
            typeEnd = bytesOf(text).size();
            misc();
        }
        element(0);
        misc();
        return bytesOf(text);
    }

    std::size_t below(std::size_t end) { return random() % end; }
    bool chance(std::size_t of) { return below(of) == 0; }

    std::size_t typeBegin = 0;
    std::size_t typeEnd = 0;
    bool wide = false;  // two bytes a unit
    bool little = false;

private:
    using Text = std::u32string;

    std::string bytesOf(const Text& from) const {
        std::string bytes;
        const auto putUnit = [&](char32_t unit) {
            bytes += static_cast<char>(little ? unit : unit >> 8);
            bytes += static_cast<char>(little ? unit >> 8 : unit);
        };
        for (const char32_t c : mark ? U"\ufeff" + from : from) {
            if (largest < 0x100) {
                bytes += static_cast<char>(c);
            } else if (!wide) {
                const char16_t pair[] = {static_cast<char16_t>(0xd7c0 + (c >> 10)),
                                         static_cast<char16_t>(0xdc00 | (c & 0x3ff))};
                const auto unit = static_cast<char16_t>(c);
                bytes += c > 0xffff ? extras::toUtf8({pair, 2}) : extras::toUtf8({&unit, 1});
            } else if (c > 0xffff) {
                putUnit(0xd7c0 + (c >> 10));
                putUnit(0xdc00 | (c & 0x3ff));
            } else {
                putUnit(c);
            }
        }
        return bytes;
    }

    Text oneOf(std::initializer_list<const char32_t*> all) { return all.begin()[below(all.size())]; }

    Text white(std::size_t least) {
        Text made;
        for (std::size_t n = least + (chance(3) ? below(4) : 0); n > 0; --n) {
            made += oneOf({U" ", U" ", U"\n", U"\t", U"\r\n", U"\r"});
        }
        return made;
    }
    Text equals() { return white(0) + U"=" + white(0); }
    Text inQuotes(const Text& content) { return chance(2) ? U"'" + content + U"'" : U"\"" + content + U"\""; }

    Text character() {
        for (;;) {
            const Text made = oneOf({U"a",      U"Z",      U"]",          U"]]",     U"-",      U">",
                                     U"'",      U"\"",     U"?",          U"!",      U"/",      U"=",
                                     U"\u00e9", U"\u007f", U"\u0085",     U"\u20ac", U"\u2028", U"\U0001f600",
                                     U"\ufffd", U"\ufeff", U"\U0010ffff", U"\ud7ff", U"\ue000", U" ",
                                     U"\t",     U"\n",     U"\r\n",       U"\r",     U"word",   U"some more words"});
            if (made[0] <= largest) {
                return made;
            }
        }
    }
    Text reference() {
        return oneOf({U"&lt;",  U"&gt;",       U"&amp;",     U"&apos;",    U"&quot;",      U"&#60;",        U"&#x3E;",
                      U"&#38;", U"&#38;amp;",  U"&amp;lt;",  U"&amp;#60;", U"&#9;",        U"&#10;",        U"&#13;",
                      U"&#32;", U"&#x20;",     U"&#x1F600;", U"&#128512;", U"&#x0000041;", U"&#000000065;", U"&#xD;",
                      U"&#xa;", U"&#x10FFFF;", U"&#xe9;",    U"&#34;",     U"&#39;",       U"&#93;"});
    }
    Text name() {
        for (;;) {
            const Text made = oneOf({U"a", U"b", U"item", U"x:y", U"_", U":", U"a-b.c", U"\u00e9t\u00e9",
                                     U"\u4e2d\u6587", U"n1", U"averylongnamethatgoesonandonandon"});
            if (*std::max_element(made.begin(), made.end()) <= largest) {
                return made;
            }
        }
    }
    Text without(Text from, std::initializer_list<const char32_t*> parts) {
        for (const Text part : parts) {
            for (auto at = from.find(part); at != Text::npos; at = from.find(part)) {
                from.erase(at, 1);
            }
        }
        return from;
    }
    Text some(std::size_t most, bool references) {
        Text made;
        for (std::size_t n = below(most + 1); n > 0; --n) {
            made += references && chance(4) ? reference() : character();
        }
        return made;
    }

    void misc() {
        // A white-space at the very start would be no document.
        while (chance(2)) {
            if (!text.empty()) {
                text += white(1);
            }
            chance(2) ? comment() : instruction();
        }
        if (!text.empty()) {
            text += white(0);
        }
    }
    void comment() {
        Text content = without(some(12, true), {U"--"});
        while (!content.empty() && content.back() == '-') {
            content.pop_back();
        }
        text += U"<!--" + content + (chance(5) ? U"<tag>&x;" : U"") + U"-->";
    }
    void instruction() {
        const Text content = without(some(8, true), {U"?>"});
        text +=
            U"<?" + name() + (content.empty() ? U"" : U" " + content + (content.back() == '?' ? U"." : U"")) + U"?>";
    }
    void documentType() {
        text += U"<!DOCTYPE" + white(1) + name() + white(0);
        if (chance(3)) {
            text += white(1) + oneOf({U"SYSTEM 'a>b'", U"PUBLIC \"-//x\" 'y.dtd'", U"SYSTEM \"]>'\""}) + white(0);
        }
        if (chance(2)) {
            text += U"[" + white(0);
            while (!chance(4)) {
                text += oneOf({U"<!ENTITY e 'text ]]> \"'>", U"<!ELEMENT a (b|c)*>", U"<!ATTLIST a b CDATA 'x>y'>",
                               U"<!ENTITY % p \"<!-- ' -->\">", U"<!-- a ' comment ]> -->", U"<?pi ]> ' ?>",
                               U"<!NOTATION n SYSTEM 's'>", U"<!ATTLIST a c (d|e) #IMPLIED>"});
                text += white(0);
            }
            text += U"]" + white(0);
        }
        text += U">";
    }
    void element(int depth) {
        const Text tag = name();
        text += U"<" + tag;
        std::vector<Text> used;
        for (std::size_t n = chance(2) ? below(chance(20) ? 40 : 5) : 0; n > 0; --n) {
            Text attribute = name();
            if (n > 4) {
                attribute += Text(n, U'x');
            }
            if (std::find(used.begin(), used.end(), attribute) == used.end()) {
                used.push_back(attribute);
                Text value = inQuotes(U"");
                const char32_t quote = value[0];
                Text content = some(chance(2) ? 0 : 8, true);
                content.erase(std::remove(content.begin(), content.end(), quote), content.end());
                text += white(1) + attribute + equals() + value.insert(1, content);
            }
        }
        text += white(0);
        if (chance(4)) {
            text += U"/>";
            return;
        }
        text += U">";
        for (std::size_t n = below(depth < 6 ? 9 : 3); n > 0; --n) {
            switch (below(depth < 6 ? 7 : 4)) {
                case 0:
                    comment();
                    break;
                case 1:
                    instruction();
                    break;
                case 2:
                    text += U"<![CDATA[" + without(some(10, true), {U"]]>"}) + U"]]>";
                    break;
                case 3:
                    text += white(0) + without(some(10, true), {U"]]>"}) + white(0);
                    break;
                default:
                    element(depth + 1);
            }
        }
        text += U"</" + tag + white(0) + U">";
    }

    std::mt19937 random;
    Text text;
    bool mark = false;
    char32_t largest = 0x10ffff;
};

TEST(XmlCorpus, MadeUpDocuments) {
    int good = 0;
    for (unsigned int seed = 0; seed < 1500; ++seed) {
        SCOPED_TRACE(seed);
        Maker maker(seed);
        const std::string document = maker.document();
        for (const WhiteSpace white : both) {
            Oracle oracle(document, white);
            if (oracle.error != XML_ERROR_NONE) {
                continue;  // two pieces have met that do not go together
            }
            ++good;
            const std::string wanted = oracle.content.all();
            for (const std::size_t block : {std::size_t{1} << 20, std::size_t{1}, std::size_t{2} + seed % 61}) {
                Blocks blocks(document, block);
                std::string content;
                EXPECT_EQ(failureOf([&] { content = contentOf(blocks, white); }), "") << document;
                ASSERT_EQ(content, wanted) << document << "\n" << block;
            }
        }
    }
    EXPECT_GT(good, 2500);
}

/// A fault in a document that was good: what Expat refuses is refused, and what it still takes is read likewise.
TEST(XmlCorpus, SpoiltDocuments) {
    int refused = 0;
    for (unsigned int seed = 0; seed < 10000; ++seed) {
        SCOPED_TRACE(seed);
        Maker maker(seed / 5 + 100000);
        std::string document = maker.document();
        const std::size_t at = maker.below(document.size());
        if (at + 1 >= maker.typeBegin && at <= maker.typeEnd) {
            continue;  // of the document type only the end is looked for
        }
        static const std::string pieces[] = {"<",
                                             ">",
                                             "&",
                                             "]]>",
                                             "--",
                                             "\"",
                                             "'",
                                             "/",
                                             "=",
                                             " ",
                                             std::string(1, 0),
                                             "\x01",
                                             "\xff",
                                             "\xc3",
                                             "\xed\xa0\x80",
                                             "\xef\xbf\xbe",
                                             "?>",
                                             "<!",
                                             "<?",
                                             "</a>",
                                             "<a>",
                                             "&x;",
                                             "&#0;",
                                             "&#xD800;",
                                             "&#xFFFE;",
                                             "&#1114112;",
                                             "a",
                                             "-",
                                             ";",
                                             "#",
                                             "x",
                                             "1",
                                             "]",
                                             "!"};
        std::string piece = pieces[maker.below(std::size(pieces))];
        std::size_t unit = 1;
        if (maker.wide) {  // other units than whole ones would be names that only the fifth edition of XML has
            unit = 2;
            std::string units;
            for (const char c : piece) {
                units += maker.little ? std::string{c, 0} : std::string{0, c};
            }
            piece = units;
        }
        const std::size_t from = at / unit * unit;
        switch (maker.below(4)) {
            case 0:
                document.erase(from, unit * (1 + maker.below(3)));
                break;
            case 1:
                document.resize(at);
                break;
            default:
                document.replace(from, unit * maker.below(2), piece);
                break;
        }
        Oracle oracle(document, WhiteSpace::keep);
        Blocks blocks(document, maker.chance(2) ? 1 << 20 : 1 + maker.below(20));
        std::string failure, content;
        try {
            content = contentOf(blocks, WhiteSpace::keep);
        } catch (lang::Exception& e) {
            failure = messageOf(e);
        }
        if (oracle.error == XML_ERROR_NONE) {
            // What is refused for other reasons than that of not being well formed.
            const char* const others[] = {"Undeclared entity", "The version", "The declaration",
                                          "The document's encoding", "Malformed UTF-16"};
            const bool stricter = std::any_of(std::begin(others), std::end(others),
                                              [&](const char* other) { return failure.find(other) == 0; });
            if (!stricter) {
                ASSERT_EQ(failure, "") << document;
                ASSERT_EQ(content, oracle.content.all()) << document;
            }
        } else {
            ++refused;
            ASSERT_NE(failure, "") << XML_ErrorString(oracle.error) << ", " << oracle.place << "\n" << document;
            ASSERT_NE(failure.find(" : line "), std::string::npos) << failure;
        }
    }
    EXPECT_GT(refused, 2500);
}

}  // namespace

#endif
