// The samples in the headers: what stands between two marks is the sample of the header that they name.

#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <future>
#include <iostream>
#include <memory>

#include <moraine/extras/AppendLogger.h>
#include <moraine/extras/Cursor.h>
#include <moraine/extras/Properties.h>
#include <moraine/extras/ReplacingFileOutputStream.h>
#include <moraine/extras/TextInputStream.h>
#include <moraine/extras/TextOutputStream.h>
#include <moraine/extras/Tree.h>
#include <moraine/io/FileInputStream.h>
#include <moraine/io/FileOutputStream.h>
#include <moraine/io/MemoryInputStream.h>
#include <moraine/lang/IThread.h>
#include <moraine/net/TCPInputStream.h>
#include <moraine/util/PropertyManager.h>
#include <moraine/xml/DOM/XMLReader.h>
#include <moraine/xml/DOM/XMLWriter.h>

#include "tests/support.h"

namespace {

using moraine::test::contentOf;

/// In a folder of its own, where the samples find their files.
class Samples : public ::testing::Test {
public:
    Samples() {
        std::filesystem::current_path(folder.root);
        moraine::test::makeFile("data.xml", "<?xml version='1.0'?><a><b/></a>");
        moraine::test::makeFile("track.gpx", "<gpx><trkpt lat='1' lon='2'/></gpx>");
        moraine::test::makeFile("my.properties", "\xEF\xBB\xBF"
                                                 "a=1\n");
        moraine::test::makeFile("book.xml", "<book><chapter/><chapter/></book>");
    }
    ~Samples() override { std::filesystem::current_path(before); }
    Samples(const Samples&) = delete;
    Samples& operator=(const Samples&) = delete;

protected:
    template <class... Texts>
    void use(const Texts&... texts) {
        ((used += moraine::extras::toUtf8(texts) + ' '), ...);
    }

    const std::filesystem::path before = std::filesystem::current_path();
    const moraine::test::TemporaryDirectory folder;
    std::string used;
};

TEST_F(Samples, OfReading) {
    {
        //! [moraine/xml/DOM/XMLReader.h]
        moraine::io::FileInputStream file(u"data.xml");
        moraine::xml::DOM::XMLReader reader(&file);
        while (reader.doRead()) {
            if (reader.isStartElement()) {
                use(reader.getName());
            }
        }
        //! [moraine/xml/DOM/XMLReader.h]
    }
    {
        //! [moraine/extras/Cursor.h]
        moraine::io::FileInputStream file(u"track.gpx");
        moraine::extras::Cursor cursor(file);
        while (cursor.nextStart(u"trkpt")) {
            use(cursor.attribute(u"lat"), cursor.attribute(u"lon"));
        }
        //! [moraine/extras/Cursor.h]
    }
    EXPECT_EQ(used, "a b 1 2 ");
    {
        //! [moraine/extras/XmlInputStream.h]
        moraine::io::FileInputStream file(u"data.xml");
        moraine::extras::XmlInputStream xml(file);
        moraine::xml::DOM::XMLReader reader(&xml);
        //! [moraine/extras/XmlInputStream.h]
        EXPECT_TRUE(reader.doRead());
    }
    {
        //! [moraine/extras/TextInputStream.h]
        moraine::io::FileInputStream file(u"my.properties");
        moraine::extras::TextInputStream text(file);
        moraine::util::PropertyManager table;
        table.read(&text, u"utf-8");
        //! [moraine/extras/TextInputStream.h]
        EXPECT_EQ(table.get(u"a"), moraine::WideString(u"1"));
    }
}

TEST_F(Samples, OfWriting) {
    {
        moraine::io::FileOutputStream file(u"out.xml");
        //! [moraine/xml/DOM/XMLWriter.h]
        moraine::xml::DOM::XMLWriter writer(&file, u"utf-8", true);
        writer.writeStartElement(u"item");
        writer.writeAttribute(u"key", u"a&b");
        writer.writeText(u"1 < 2");
        writer.writeEndElement();
        writer.close();
        //! [moraine/xml/DOM/XMLWriter.h]
    }
    EXPECT_NE(contentOf("out.xml").find("<item key=\"a&amp;b\">1 &lt; 2</item>"), std::string::npos);
    {
        //! [moraine/extras/TextOutputStream.h]
        moraine::io::FileOutputStream file(u"out.xml");
        moraine::extras::TextOutputStream text(file);
        moraine::xml::DOM::XMLWriter writer(&text, u"utf-8", true);
        //! [moraine/extras/TextOutputStream.h]
        writer.writeComment(u"\xD83D\xDE42");
    }
    EXPECT_NE(contentOf("out.xml").find("\xF0\x9F\x99\x82"), std::string::npos);
    {
        //! [moraine/extras/Tree.h]
        const auto book = moraine::extras::loadFile(u"book.xml");
        for (auto& chapter : moraine::extras::elements(*moraine::extras::root(*book), u"chapter")) {
            moraine::extras::setAttribute(chapter, u"state", u"read");
        }
        moraine::extras::saveFile(*book, u"book.xml");
        //! [moraine/extras/Tree.h]
    }
    EXPECT_NE(contentOf("book.xml").find("<chapter state=\"read\"/>"), std::string::npos);
    {
        //! [moraine/extras/ReplacingFileOutputStream.h]
        moraine::extras::ReplacingFileOutputStream file(u"settings.txt");
        file.write("port=80\n", 8);
        file.close();  // now, and not before, settings.txt is the new one
        //! [moraine/extras/ReplacingFileOutputStream.h]
    }
    EXPECT_EQ(contentOf("settings.txt"), "port=80\n");
    {
        //! [moraine/extras/Properties.h]
        auto settings = moraine::extras::Properties::load(u"app.properties");  // there or not
        const long long port = settings.getNumber(u"port", 80);
        settings.set(u"title", u"Demo");
        settings.save(u"app.properties");
        //! [moraine/extras/Properties.h]
        EXPECT_EQ(port, 80);
    }
    {
        //! [moraine/extras/AppendLogger.h]
        moraine::extras::AppendLogger log(u"app.log");
        log.setRotation({10'000'000, false, 5});
        log.info("Grüße from port 80 🙂");  // UTF-8
        log.write(moraine::extras::AppendLogger::Level::error, "no room");
        //! [moraine/extras/AppendLogger.h]
    }
    EXPECT_NE(contentOf("app.log").find(" ERROR no room\r\n"), std::string::npos);
}

TEST_F(Samples, OfSocketsAndFailures) {
    int ends[2] = {};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    EXPECT_EQ(::write(ends[1], "sent", 4), 4);
    ::close(ends[1]);
    moraine::net::TCPInputStream in(static_cast<unsigned int>(ends[0]));
    //! [moraine/net/TCPInputStream.h]
    char block[10240];
    moraine::io::MemoryInputStream memory;
    for (unsigned int n = in.read(block, sizeof block); n != 0; n = in.read(block, sizeof block)) {
        if (n > sizeof block) {
            throw std::runtime_error("the connection broke");
        }
        memory.addBytes(block, n);
    }
    //! [moraine/net/TCPInputStream.h]
    EXPECT_EQ(memory.getSize(), 4U);

    const auto load = [] {
        try {
            moraine::io::FileInputStream(u"none").close();
        }
        //! [moraine/lang/Exception.h]
        catch (moraine::lang::Exception& e) {
            e.addTrace(u"my::Loader", __LINE__);
            throw;
        }
        //! [moraine/lang/Exception.h]
    };
    ::testing::internal::CaptureStderr();
    try {
        load();
        //! [moraine/extras/Utf8.h]
    } catch (moraine::lang::Exception& e) {
        std::cerr << moraine::extras::report(e);
    }
    //! [moraine/extras/Utf8.h]
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("my::Loader"), std::string::npos);
}

//! [moraine/lang/IThread.h]
struct Start {
    moraine::lang::IThread* worker = nullptr;
    std::promise<void> ended;
};
void* entry(void* argument) {  // what pthread_create wants
    const std::unique_ptr<Start> start(static_cast<Start*>(argument));
    moraine::lang::IThread::threadBody(start->worker);
    start->ended.set_value();  // the object is no longer in use
    return nullptr;
}
//! [moraine/lang/IThread.h]

TEST_F(Samples, OfThreads) {
    struct : moraine::lang::IThread {
        void run() override { ran = true; }
        bool ran = false;
    } worker;
    // NOLINTBEGIN(performance-no-int-to-ptr): what a handle is
    //! [moraine/lang/IThread.h]
    auto start = std::make_unique<Start>();
    start->worker = &worker;
    std::future<void> ended = start->ended.get_future();
    pthread_t thread{};
    if (pthread_create(&thread, nullptr, entry, start.get()) == 0) {
        static_cast<void>(start.release());  // belongs to the thread
        worker.setThreadHandle(reinterpret_cast<void*>(thread));
        ended.wait();  // before the worker ends
    }
    //! [moraine/lang/IThread.h]
    // NOLINTEND(performance-no-int-to-ptr)
    EXPECT_TRUE(worker.ran);
}

}  // namespace
