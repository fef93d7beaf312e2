#include <dlfcn.h>
#include <malloc.h>
#include <sys/stat.h>

#include <climits>
#include <csignal>

#include "moraine/io/FileInputStream.h"
#include "moraine/io/FileNotFoundException.h"
#include "moraine/io/MemoryInputStream.h"
#include "moraine/io/MemoryOutputStream.h"
#include "moraine/text/DecoderManager.h"
#include "moraine/text/EncoderManager.h"
#include "moraine/text/StringUtil.h"
#include "moraine/text/Wildcard.h"
#include "moraine/util/log/ILogger.h"
#include "moraine/util/PropertyManager.h"
#include "moraine/xml/DOM/Declaration.h"
#include "moraine/xml/DOM/Element.h"
#include "moraine/xml/DOM/Text.h"
#include "moraine/xml/DOM/XMLWriter.h"

#include "xml_support.h"

// clang-format off
/// Which allocation of a thread fails: the one with the number `wanted`, and those behind it if `lasting`; of those by
/// `new`, or of those of the C library if `fromC`. `live` are the blocks that `new` gave and `delete` has not got yet.
struct Injection {
    bool fails(bool c = true) { return armed && c == fromC && (++count == wanted || (lasting && count > wanted)); }
    long wanted, count, live;
    bool lasting, fromC, armed;
};

/// The bytes that `new` gave: all of them, and those that `delete` has not got yet.
struct Bytes { long given, live; };
static thread_local Bytes bytes;

static thread_local Injection injection;

/// Goes on to what stands behind the operators of this program: those of the runtime, or of a sanitizer.
template <int which, class Result, class... Arguments>
static Result pass(const char* symbol, Arguments... arguments) {
    static auto* const next = reinterpret_cast<Result (*)(Arguments...)>(::dlsym(RTLD_NEXT, symbol));
    return next(arguments...);
}
static std::size_t allowed(std::size_t size) { return injection.fails(false) ? throw std::bad_alloc() : size; }
static void* taken(void* block) {
    const auto size = static_cast<long>(::malloc_usable_size(block));
    return ++injection.live, bytes.given += size, bytes.live += size, block;
}
static void* given(void* block) {
    return injection.live -= block != nullptr, bytes.live -= static_cast<long>(::malloc_usable_size(block)), block;
}
void* operator new(std::size_t size) { return taken(pass<0, void*>("_Znwm", allowed(size))); }
void* operator new[](std::size_t size) { return taken(pass<1, void*>("_Znam", allowed(size))); }
void operator delete(void* block) noexcept { pass<0, void>("_ZdlPv", given(block)); }
void operator delete[](void* block) noexcept { pass<1, void>("_ZdaPv", given(block)); }
void operator delete(void* block, std::size_t) noexcept { ::operator delete(block); }
void operator delete[](void* block, std::size_t) noexcept { ::operator delete[](block); }
extern "C" void* malloc(std::size_t size) noexcept {  // NOLINT(readability-inconsistent-declaration-parameter-name)
    return injection.fails() ? nullptr : pass<2, void*>("malloc", size);
}
extern "C" void* realloc(void* block, std::size_t size) noexcept {  // NOLINT(readability-inconsistent*)
    return injection.fails() ? nullptr : pass<2, void*>("realloc", block, size);
}

namespace moraine::test {
namespace {

using namespace io; using namespace xml::DOM;
using util::PropertyManager, util::log::ILogger;
using Action = std::function<void()>; using State = std::function<std::string()>;

// clang-format on
struct Armed {
    Armed() { injection.armed = true; }
    ~Armed() { injection.armed = false; }
};

/// Carries out an action with the injection. Without memory the state stays, and the action is possible afterwards.
void tried(
    const Action& action, const State& state = [] { return ""; }) {
    const std::string before = state();
    try {
        const Armed armed;
        action();
    } catch (const std::bad_alloc&) {
        EXPECT_EQ(state(), before);
        try {
            action();
        } catch (const lang::Exception&) {  // its own failure
        }
        EXPECT_TRUE(before.empty() || state() != before);
        throw;
    }
}

/// Lets the first allocation in what is tried fail, then the second, until none does; then again, with all behind it
/// failing too. Each failure must reach the caller and leave nothing behind.
void everyAllocationFails(const Action& run, long row = 0, bool fromC = false) {
    for (const bool lasting : {false, true}) {
        injection.count = 0;
        for (long wanted = 1; injection.count >= wanted - 1; ++wanted) {
            SCOPED_TRACE(::testing::Message() << "row " << row << ", allocation " << wanted);
            const long live = injection.live;
            bool told = false;
            injection = {wanted, 0, live, lasting, fromC, false};
            try {
                run();
            } catch (const std::bad_alloc& e) {
                told = typeid(e) == typeid(std::bad_alloc);
            } catch (const lang::Exception&) {  // the action's own failure
            }
            ASSERT_TRUE(told == (injection.count >= wanted) && (told || wanted > 1) && injection.live == live);
        }
    }
    injection = {0, 0, injection.live, false, false, false};
}

// clang-format off
const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
const WideString longer(40, u'L');  // than what a string holds in itself

void log(const WideString& path) {
    ILogger logger; logger.setOutputPath(path.c_str());
    tried([&] { logger.write(longer.c_str()); });
}

struct Faults : ::testing::Test {
    void TearDown() override { EXPECT_EQ(openDescriptors(), descriptors); }
    const TemporaryDirectory directory; const WideString file = directory.name(u"file");
    const long descriptors = (log(u"/dev/null"), openDescriptors());  // a thread that logs keeps one
};

TEST_F(Faults, WithoutMemoryWhatIsStoredStays) {
    for (const bool fromC : {false, true}) { everyAllocationFails([] {
        MemoryInputStream in; MemoryOutputStream out; PropertyManager table; ILogger logger; Declaration node;
        for (const WideChar* key : {u"c", u"d", u"e", u"f", u"g", u"h", u"i"}) { table.put(key, u"1"); }
        in.setBytes("0123456789", 10), in.skip(3), table.remove(u"c"), node.setValue(u"v", 1);
        const auto state = [&] {
            MemoryInputStream copy(in); char rest[99];
            const unsigned int counts[] = {in.getSize(), node.getChildCount(), node.getAttributeCount(), table.count()};
            return std::string(rest, copy.read(rest, 99)) + std::string(out.getBytes(), out.getSize()) +
                   bytesOf(*node.getString() + shown(node.getValue()) + shown(logger.getOutputPath())) +
                   ::testing::PrintToString(counts);
        };
        const auto give = [&](auto take, auto... index) {
            auto child = std::make_unique<Element>();
            child->setLocalName(u"version", 7), (node.*take)(child.get(), index...), static_cast<void>(child.release());
        };
        for (const Action& one : std::initializer_list<Action>{
            [&] { in.addBytes("abcdefghijklmnop", 16); }, [&] { in = MemoryInputStream(); }, [&] { out.write("x", 1); },
            [&] { out.write(std::string(20000, 'x').data(), 20000); }, [&] { out.clear(); },
            [&] { table.put(u"c", u"1"); }, [&] { table.put(u"j", u"1"); }, [&] { logger.setOutputPath(u"a"); },
            [&] { give(&Node::appendChild); }, [&] { give(&Node::insertChild, 0U); }, [&] { node.setVersion(u"a"); },
            [&] { give(&Node::appendAttribute); }, [&] { node.setStandalone(u""); },
            [&] { give(&Node::insertAttribute, 0U); }, [&] { node.removeAttribute(0); },
            [&] { node.removeAllAttributes(); }, [&] { node.setValue(longer.data(), 40); }}) { tried(one, state); }
    }, 0, fromC); }
}

TEST_F(Faults, WithoutMemory) {
    const auto transcribe = [](const WideChar* name) {
        MemoryInputStream in; MemoryOutputStream out; PropertyManager table;
        table.put(u"a", WideString(6000, u'\u00E9').c_str()), table.write(&out, name);
        in.setBytes(out.getBytes(), out.getSize()), table.read(&in, name);
        XMLWriter writer(&out, name, name[0] == u'U'); writer.writeStartElement(longer.c_str());
        for (WideChar i = 1; i < 20; ++i) { writer.writeAttribute((longer + i).c_str(), longer.c_str()); }
        writer.writeText((longer + u"&amp;\u20AC").c_str()), writer.writeEndElement(), writer.close();
    };
    const Action rows[] = {
        [&] { transcribe(u"UTF-8"); }, [&] { transcribe(u"BASE64"); }, [&] { transcribe(u"URL"); }, [&] { log(file); },
        [&] { FileInputStream(file.c_str()).setFileName(u"/"); }, [&] { FileOutputStream(file.c_str()).skip(1); },
        [] { text::Wildcard().isMatch("abcdefghijklmnopqrst", "*b?#def?hijklm*"); }, [] { Element().childAt(7); },
        [] { text::StringUtil().doReplace("abc", 3, "a", head.c_str()), text::StringUtil().toWide(head.data(), 20); }};
    for (const Action& row : rows) { everyAllocationFails([&] { tried(row); }, &row - rows); }
    const Action open = [&] { FileOutputStream(file.c_str()).close(), FileInputStream(file.c_str()).close(); };
    for (const Action& row : {open, rows[3]}) { everyAllocationFails([&] { tried(row); }, 99, true); }
    for (const std::size_t step : {7U, 700U}) { everyAllocationFails([&] {
        const std::string body = "<a bcdefghij='&lt;klmnopqr' s=\"t\"><u/>\n&amp;" + std::string(12000, 'x');
        Source source(head + body + "<v ><!--w--></v ></b>", {head.size(), head.size() + step, head.size() + 2 * step});
        XMLReader reader(&source);
        try { tried([&] { try { while (reader.doRead()) {} } catch (const lang::Exception&) {} }); }
        catch (const std::bad_alloc&) { EXPECT_THROW(reader.doRead(), std::bad_alloc); throw; }
    }); }
}

TEST_F(Faults, WithoutMemoryACodecHoldsWhatItHeld) {
    const std::string bytes = "YWJjZGVm\r\nZ2g=" "|a\xE2\x82\xAC\xC3\xA9" "b|%00%41%20%AC+z%00%42%01%42abcde";
    const WideString names[] = {u"BASE64", u"UTF-8", u"URL"};
    std::size_t row = 0;
    for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 1, ++row) {
        end = bytes.find('|', begin);
        const std::string text = bytes.substr(begin, end - begin);
        for (const std::size_t step : {1U, 2U, 3U, 5U, 7U}) {
            WideString expected;
            const auto recode = [&] {
                const std::unique_ptr<text::IDecoder> decoder(text::DecoderManager().getDecoder(names[row].c_str()));
                const std::unique_ptr<text::IEncoder> encoder(text::EncoderManager().getEncoder(names[row].c_str()));
                WideString units(100, 0); units.clear(); std::string back(400, 0); back.clear(); bool failed = false;
                for (std::size_t at = 0; at <= text.size(); at += step) {
                    const std::string block = text.substr(at, step);
                    const auto size = static_cast<unsigned int>(block.size());
                    const bool last = at + step > text.size();
                    const Action codings[] = {[&] { units += *decoder->doDecodeM2W(block.data(), size, last); },
                                              [&] { back += *encoder->doEncodeW2M(longer.data(), size, last); }};
                    for (const Action& coding : codings) {
                        try { tried(coding); } catch (const std::bad_alloc&) { failed = true; }
                    }
                }
                units += u'|' + WideString(back.begin(), back.end());
                expected.empty() ? expected = units : u"";
                EXPECT_EQ(units, expected);
                if (failed) { throw std::bad_alloc(); }
            };
            recode();
            everyAllocationFails(recode, static_cast<long>(row));
        }
    }
}

TEST_F(Faults, WithoutMemoryTheWriterGoesOnAsIfNothingHadBeen) {
    for (const WideChar* name : {u"UTF-8", u"BASE64", u"URL"}) {
        std::string expected;
        const auto write = [&] {
            MemoryOutputStream out; std::unique_ptr<XMLWriter> writer; bool failed = false;
            const Action attribute = [&] { writer->writeAttribute((longer + u'1').c_str(), longer.c_str()); };
            const Action more = [&] { writer->writeAttribute(u"b&amp;", WideString(9000, u'\u20AC').c_str()); };
            const Action text = [&] { writer->writeText((longer + u"&amp;\u20AC").c_str()); };
            const Action open = [&] { writer->writeStartElement(longer.c_str()); }, end = [&] { writer->writeEndElement(); };
            const Action comment = [&] { writer->writeComment(longer.c_str()); }, close = [&] { writer->close(); };
            const Action make = [&] { writer = std::make_unique<XMLWriter>(&out, name, true); };
            for (const Action& call : {make, comment, open, attribute, more, open, text, comment, open, end, end, open,
                                       attribute, end, end, close, comment, close}) {
                try { tried(call); } catch (const std::bad_alloc&) { failed = true; }
            }
            const std::string written(out.getBytes(), out.getSize());
            expected.empty() ? expected = written : "";
            EXPECT_TRUE(written == expected) << "what a failed call left behind shows";
            if (failed) { throw std::bad_alloc(); }
        };
        write();  // nothing fails
        everyAllocationFails(write);
    }
}

TEST_F(Faults, BytesThatAreTakenFollowTheInputAndGoBack) {
    const auto piecewise = [](std::size_t n, auto put) {
        const std::string piece(100, 'p');
        for (std::size_t i = 0; i < n; i += 100) { put(piece.data(), 100U); }
    };
    const auto read = [](std::size_t n, const std::string& open, const std::string& unit, const std::string& close) {
        std::string text = head + open;
        for (std::size_t i = 0; i < n; i += unit.size()) { text += unit; }
        Source source(text += close); XMLReader reader(&source);
        const long before = bytes.given;
        try { while (reader.doRead()) {} } catch (const DataFormatException&) {}  // elements stay open
        return bytes.given - before;
    };
    const std::function<long(std::size_t)> rows[] = {  // which take some bytes of `new` for each of n
        [&](std::size_t n) { MemoryInputStream in; piecewise(n, [&](auto... b) { in.addBytes(b...); }); return 0L; },
        [&](std::size_t n) { MemoryInputStream in; char one[100];  // of which half is read at once
                             piecewise(n, [&](auto... b) { in.addBytes(b...), in.read(one, 50); }); return 0L; },
        [&](std::size_t n) { return read(n, "<a>", "text &amp; more ", "</a>"); },
        [&](std::size_t n) { return read(n, "<a b='", "value &#65; ", "'/>"); },
        [&](std::size_t n) { return read(n, "<!--", "comment - ", "-->"); },
        [&](std::size_t n) { return read(n, "<a>", "<b>", ""); },
        [&](std::size_t n) { return read(n, "<a ", "b='c' ", "/>"); },
        [&](std::size_t n) { Element e; for (; n > 9; n -= 9) { e.appendChild(new Element); } return 0L; },
        [&](std::size_t n) { MemoryOutputStream out; XMLWriter writer(&out, u"UTF-8", false);
                             for (; n > 99; n -= 99) { writer.writeStartElement(u"element"); } return 0L; },
        [&](std::size_t n) { MemoryOutputStream out; XMLWriter writer(&out, u"UTF-8", false); WideString name(9, u'a');
                             for (writer.writeStartElement(u"e"); n > 99; n -= 99) {
                                 name[n % 9] = static_cast<WideChar>(n); writer.writeAttribute(name.c_str(), u"v"); }
                             return 0L; },
        [&](std::size_t n) { const WideString all(n, u'a'), search = WideString(n / 2, u'a') + u"b";
                             text::StringUtil().doReplaceW(all.data(), unsigned(n), search.data(), u"c"); return 0L; },
        [&](std::size_t n) { const WideString all(n, u'<'); xml::DOM::Text node; node.setValue(all.data(), unsigned(n));
                             node.getReferenceString(); return 0L; }};
    for (const auto& row : rows) {
        long taken[2] = {};
        for (const std::size_t twice : {0U, 1U}) {
            const Bytes before = bytes;
            const long told = row((std::size_t{1} << 17) << twice << twice);
            taken[twice] = told > 0 ? told : bytes.given - before.given;
            EXPECT_EQ(bytes.live, before.live);
            EXPECT_GT(taken[twice], 10000);
        }
        EXPECT_LT(taken[1], 6 * taken[0]) << "of row " << &row - rows << ": four times the input took " << taken[1];
    }
    MemoryInputStream in; const std::string much(1 << 20, 'x');
    const long before = bytes.live;
    in.setBytes("0123456789", 10), in.addBytes(much.data(), 1 << 20), in.skip(1 << 20), in.addBytes("end", 3);
    EXPECT_LT(bytes.live - before, 1 << 18) << "a backlog that has been read stays";
    char rest[20]; EXPECT_EQ(std::string(rest, in.read(rest, 20)), "xxxxxxxxxxend");
}

TEST_F(Faults, MemoryStreamsToTheirEnd) {
    MemoryOutputStream out; Sink target;
    out.write("x", 1);
    EXPECT_THROW(out.write("", UINT_MAX), std::bad_alloc) << "more than 4 GiB less one byte";
    EXPECT_TRUE(out.getSize() == 1 && out.write(nullptr, 0) == 0);
    struct : Sink { void flush() override { ++flushes; } int flushes = 0; } closing;
    out.writeto(&closing);
    EXPECT_TRUE(closing.joined("|") == "x|" && closing.flushes == 1 && closing.closes == 1);
}

TEST_F(Faults, NamesThatLeadNowhere) {
    const std::filesystem::path former = std::filesystem::current_path(), gone = directory.path("gone");
    std::filesystem::create_directory(gone), std::filesystem::current_path(gone), std::filesystem::remove(gone);
    const WideString most(85, u'\u20AC'), tooLong = directory.name(most + u"n"), words = u"File not found. : ";
    for (const WideString& n : {WideString(u"a"), directory.name(WideString(4096, u'n')), tooLong}) {
        expectFailure<FileNotFoundException>([&] { FileInputStream().setFileName(n.c_str()); }, words + n);
        expectFailure<FileNotFoundException>([&] { FileOutputStream().setFileName(n.c_str()); }, n);
        expectFailure<FileNotFoundException>([&] { log(n); }, n);
    }
    std::filesystem::current_path(former), log(directory.name(most));
}

TEST_F(Faults, WhereNothingIsTakenNobodyTells) {
    const auto former = std::signal(SIGPIPE, SIG_IGN);
    ASSERT_EQ(::mkfifo(directory.path("file").c_str(), 0600), 0);
    for (const WideString& name : {file, WideString(u"/dev/full")}) {
        std::fstream holder(directory.path("file"));  // so that nobody waits for the other end
        ILogger logger; logger.setOutputPath(name.c_str()), logger.write(u"a");
        FileOutputStream out(name.c_str()); holder.close(), logger.write(u"b"), logger.write(u"c");
        EXPECT_LT(out.write(std::string(200000, 'x').data(), 200000), 200000U);
        XMLWriter writer(&out, u"UTF-8", true);
        writer.writeComment(WideString(99999, u'a').c_str()), writer.close();
    }
    std::signal(SIGPIPE, former);
}

TEST_F(Faults, FilesThatShrinkAndDevices) {
    for (const std::size_t size : {0U, 100U, 10241U, 20480U}) {
        makeFile(directory.path("file"), head + "<a>" + std::string(30000, 'x') + "</a>");
        FileInputStream in(file.c_str()); XMLReader reader(&in);
        EXPECT_TRUE(reader.doRead() && reader.doRead() && reader.doRead());
        std::filesystem::resize_file(directory.path("file"), size);
        expectFailure<DataFormatException>([&] { reader.doRead(); }, u"Invalid EOD.(38)");
    }
    const auto read = [](const WideChar* name) { FileInputStream in(name); XMLReader(&in).doRead(); };
    expectFailure<IOException>([&] { read(u"/dev/null"); }, u"Data is empty.");
    expectFailure<DataFormatException>([&] { read(u"/dev/zero"); }, u"Invaild data.");
}

}  // namespace
}  // namespace moraine::test
