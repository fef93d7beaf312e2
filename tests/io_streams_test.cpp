#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <functional>
#include <thread>
#include <tuple>

#include "moraine/io/FileInputStream.h"
#include "moraine/io/FileNotFoundException.h"
#include "moraine/io/FileOutputStream.h"
#include "moraine/io/MemoryInputStream.h"
#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/net/TCPInputStream.h"
#include "moraine/net/TCPOutputStream.h"
#include "moraine/util/log/ILogger.h"
#include "moraine/xml/DOM/XMLWriter.h"

#include "support.h"

namespace moraine::test {
namespace {

using io::FileInputStream, io::FileOutputStream, io::FileNotFoundException, io::IOException;
using lang::IllegalArgumentException;

const WideString range = u"The range of the file was exceeded. : ";
const std::vector<WideString> inClass = {u"moraine::io::FileInputStream"},
                              outClass = {u"moraine::io::FileOutputStream"};

std::string readAll(io::InputStream& stream) {
    std::string bytes(99999, '#');
    bytes.resize(stream.read(bytes.data(), 99999));
    return bytes;
}

struct FileStreams : DescriptorsStay {
    const TemporaryDirectory directory;
};

TEST_F(FileStreams, OpenAndCloseAsOftenAsOneLikes) {
    FileInputStream in;
    FileOutputStream out;
    const auto expectClosed = [&] {
        in.close();
        out.close();
        out.flush();
        EXPECT_EQ(openDescriptors(), descriptors);
        expectFailure<IOException>([&] { in.read(nullptr, 0); }, u"The file is not open.", inClass);
        expectFailure<IOException>([&] { in.skip(0); }, u"The file is not open.", inClass);
        expectFailure<IOException>([&] { out.write(nullptr, 0); }, u"The file is not write.", outClass);
        expectFailure<IOException>([&] { out.skip(0); }, u"The file is not write.", outClass);
    };
    expectClosed();
    const WideString a = directory.name(u"a"), b = directory.name(u"b");
    makeFile(directory.path("a"), "longer than b");
    const int next = ::dup(0);
    ::close(next);
    in.setFileName(a.c_str());
    EXPECT_EQ(::fcntl(next, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(readAll(in), "longer than b");
    out.setFileName(a.c_str());
    EXPECT_EQ(contentOf(directory.path("a")), "") << "not cut at once";
    out.write("aa", 2);
    out.setFileName(out.getFileName());
    EXPECT_EQ(contentOf(directory.path("a")), "") << "what was held came later";
    out.write("aa", 2);
    out.setFileName(b.c_str());  // closes the former file
    EXPECT_EQ(contentOf(directory.path("a")), "aa");
    out.write("b", 1);
    out.flush();
    in.setFileName(b.c_str());
    in.setFileName(in.getFileName());  // its own name is as good as any
    expectFailure<IllegalArgumentException>([&] { in.setFileName(nullptr); }, u"", inClass);
    expectFailure<IllegalArgumentException>([&] { out.setFileName(nullptr); }, u"", outClass);
    expectFailure<IOException>([&] { in.skip(2); }, range + u"2 > 1", inClass);  // and not the former file's size
    EXPECT_EQ(readAll(in), "b");
    expectClosed();
    in.setFileName(b.c_str());
    EXPECT_THROW(in.setFileName(u""), FileNotFoundException);
    expectClosed();
}

/// Expects a stream to refuse a name with exactly this failure and to keep it, and the file only if @p staysOpen.
template <class Stream, class E>
void expectRefusal(const WideString& name, const WideString& message, const std::vector<WideString>& layers,
                   bool staysOpen = false) {
    const long before = openDescriptors();
    Stream stream;
    expectFailure<E>([&] { stream.setFileName(name.c_str()); }, message + name, layers);
    EXPECT_EQ(stream.getFileName(), name);
    EXPECT_EQ(openDescriptors() - before, staysOpen);
}

TEST_F(FileStreams, NamesThatAreRefused) {
    for (const WideString& file : std::vector<WideString>{u"no/such/file", u"\xD83D", u"\xDE00\xD83D", u"\xD83Dx"}) {
        const WideString name = directory.name(file);
        expectRefusal<FileInputStream, FileNotFoundException>(name, u"File not found. : ", inClass);
        expectRefusal<FileOutputStream, FileNotFoundException>(name, u"", outClass);
    }
    expectFailure<FileNotFoundException>([] { FileInputStream in(u""); }, u"File not found. : ",
                                         {inClass[0], inClass[0]});
    expectFailure<IllegalArgumentException>([] { FileInputStream in(nullptr); }, u"", {inClass[0], inClass[0]});
    expectFailure<IllegalArgumentException>([] { FileOutputStream out(nullptr); }, u"", {outClass[0], outClass[0]});
    expectRefusal<FileInputStream, IOException>(directory.name(u""), u"This file is directoy. : ", inClass, true);
    expectRefusal<FileOutputStream, FileNotFoundException>(directory.name(u""), u"", outClass);
    EXPECT_TRUE(std::filesystem::is_empty(directory.root)) << "a file was made";
    makeFile(directory.path("sealed"), "");
    ::chmod(directory.path("sealed").c_str(), 0444);
    if (::geteuid() == 0) {  // whom the system lets open it
        const WideString message = u"This file or directoy is System file. : ";
        expectRefusal<FileOutputStream, IOException>(directory.name(u"sealed"), message, outClass, true);
    } else {
        expectRefusal<FileOutputStream, FileNotFoundException>(directory.name(u"sealed"), u"", outClass);
    }
}

TEST_F(FileStreams, NamesReachTheSystemAsUtf8WithForwardSlashesInAnyLocale) {
    std::filesystem::create_directories(directory.path("sub/deep"));
    const std::tuple<WideString, WideString, std::string> rows[] = {
        {u"sub\\deep\\a.txt", u"sub/deep/a.txt", "sub/deep/a.txt"},
        {u"\u00E9\u07FF\u0800\uFFFD", u"\u00E9\u07FF\u0800\uFFFD", "\xC3\xA9\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBD"},
        {u"\U00010000\U0001F600x\U0010FFFF", u"\U00010000\U0001F600x\U0010FFFF",
         "\xF0\x90\x80\x80\xF0\x9F\x98\x80x\xF4\x8F\xBF\xBF"}};
    for (const char* locale : {"C", "C.UTF-8"}) {
        const LocaleScope scope(locale);
        for (const auto& [name, stored, path] : rows) {
            EXPECT_EQ(FileOutputStream(directory.name(name).c_str()).write(locale, 1), 1U);
            EXPECT_EQ(contentOf(directory.path(path)), "C") << path;
            FileInputStream in(directory.name(name).c_str());
            EXPECT_EQ(in.getFileName(), directory.name(stored));
            EXPECT_EQ(readAll(in), "C");
        }
    }
}

TEST_F(FileStreams, MovesStayInsideAndRefusedOnesChangeNothing) {
    // The size, the position, the move, and how the refusal ends if there is one.
    // clang-format off
    const std::tuple<std::size_t, std::size_t, long, WideString> rows[] = {
        {0, 0, 0, u""}, {0, 0, 1, u"1 > 0"}, {0, 0, -1, u"-1 < 0"}, {10, 4, 6, u""}, {10, 4, 7, u"11 > 10"},
        {10, 4, -4, u""}, {10, 4, -5, u"-1 < 0"}, {10, 10, LONG_MAX, u"9223372036854775807 > 10"},
        {10, 3, LONG_MIN, u"-9223372036854775805 < 0"}, {10, 3, 4294967296, u"4294967299 > 10"},
        {30000, 29999, -29998, u""}, {30000, 1, 29999, u""}, {30000, 1, 30000, u"30001 > 30000"}};
    // clang-format on
    for (auto [size, position, count, refusal] : rows) {
        std::string content(size, 'a');
        std::generate(content.begin(), content.end(), [i = 0]() mutable { return static_cast<char>(i++ % 251); });
        makeFile(directory.path("in"), content);
        FileInputStream in(directory.name(u"in").c_str());
        io::MemoryInputStream memory;
        memory.setBytes(content.data(), static_cast<long>(size));
        FileOutputStream out(directory.name(u"out").c_str());
        out.write(content.data(), static_cast<unsigned int>(size));  // still in the buffer when the stream moves
        in.skip(static_cast<long>(position));
        memory.skip(static_cast<long>(position));
        out.skip(static_cast<long>(position) - static_cast<long>(size));
        if (refusal.empty()) {
            in.skip(count);
            memory.skip(count);
            out.skip(count);
            position += static_cast<std::size_t>(count);
        } else {
            expectFailure<IOException>([&, by = count] { in.skip(by); }, range + refusal, inClass);
            expectFailure<IOException>([&, by = count] { out.skip(by); }, range + refusal, outClass);
            const WideString data = u"The range of the data was exceeded. : ";
            expectFailure<IOException>([&, by = count] { memory.skip(by); }, (count < 0 ? data : range) + refusal,
                                       {u"moraine::io::MemoryInputStream"});
        }
        memory.close();
        memory.addBytes(content.data(), -1);
        EXPECT_EQ(readAll(in), content.substr(position));
        EXPECT_EQ(readAll(memory), content.substr(position));
        EXPECT_EQ(out.write("!?", 2), 2U);
        out.close();
        EXPECT_EQ(contentOf(directory.path("out")), content.replace(position, 2, "!?"));
    }
}

TEST_F(FileStreams, InterruptedCallsLoseNothing) {
    struct sigaction action = {}, former = {};
    action.sa_handler = [](int) {};  // and no SA_RESTART
    ::sigaction(SIGUSR1, &action, &former);
    ASSERT_EQ(::mkfifo(directory.path("pipe").c_str(), 0600), 0);
    const std::string data(1 << 20, 'd');
    std::string received(data.size(), '#');
    unsigned int taken = 0, count = 0;
    std::atomic<bool> go{false};
    const auto interrupt = [](std::thread& thread) {
        for (int i = 0; i < 20; ++i) {
            ::pthread_kill(thread.native_handle(), SIGUSR1), ::usleep(500);
        }
    };
    std::thread writer([&] {
        FileOutputStream out(directory.name(u"pipe").c_str());
        while (!go) {
            ::usleep(500);
        }
        taken = out.write(data.data(), 1 << 20);
    });
    interrupt(writer);  // while it opens
    std::thread reader([&] {
        FileInputStream in(directory.name(u"pipe").c_str());
        count = in.read(received.data(), 10);
        interrupt(writer);  // while it writes
        count += in.read(received.data() + 10, (1 << 20) - 10);
        errno = EINTR;  // as it was left
        count += in.read(received.data(), 10);
    });
    interrupt(reader);  // while it waits for the first bytes
    go = true;
    reader.join(), writer.join();
    ::sigaction(SIGUSR1, &former, nullptr);
    EXPECT_TRUE(taken == data.size() && count == data.size() && received == data) << taken << ' ' << count;
}

TEST_F(FileStreams, WhatMayNotBeWrittenIsNotCut) {
    const WideString name = directory.name(u"a"), message = u"This file or directoy is System file. : " + name;
    const mode_t former = ::umask(0222);  // a new file is one that nobody may write
    FileOutputStream(name.c_str()).write("first", 5);
    ::umask(former);
    EXPECT_EQ(contentOf(directory.path("a")), "first");
    if (::geteuid() == 0) {  // whom the system lets open it
        FileOutputStream refused;
        expectFailure<IOException>([&] { refused.setFileName(name.c_str()); }, message, outClass);
        EXPECT_EQ(contentOf(directory.path("a")), "first");
        for (const mode_t writable : {0020U, 0002U}) {  // by others than the owner
            ::chmod(directory.path("a").c_str(), writable);
            EXPECT_EQ(FileOutputStream(name.c_str()).write("x", 1), 1U);
        }
    }
    std::filesystem::create_symlink("made", directory.path("link"));
    EXPECT_EQ(FileOutputStream(directory.name(u"link").c_str()).write(nullptr, 0), 0U);
    EXPECT_EQ(contentOf(directory.path("made")), "");
    EXPECT_EQ(FileOutputStream(u"/dev/null").write("x", 1), 1U);
    EXPECT_EQ(FileInputStream(u"/dev/null").read(nullptr, 0), 0U);
}

/// Carries out @p body in a process of its own, and expects that nothing fails there.
template <class Body>
void inChild(Body body) {
    const pid_t child = ::fork();
    if (child == 0) {
        body();
        ::_exit(::testing::Test::HasFailure());
    }
    int status = -1;
    EXPECT_TRUE(::waitpid(child, &status, 0) == child && status == 0);
}

TEST_F(FileStreams, WhatCouldNotBeWrittenLeavesNoHole) {
    inChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit{70000, RLIM_INFINITY};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        FileOutputStream out(directory.name(u"a").c_str());
        const std::string data(60000, 'd');
        out.write(data.data(), 60000);
        out.skip(-1);
        out.write(data.data(), 20000);
        expectFailure<IOException>([&] { out.skip(5); }, range + u"80004 < 0", outClass);
        limit.rlim_cur = RLIM_INFINITY;
        ::setrlimit(RLIMIT_FSIZE, &limit);
        out.write("end", 3);
        out.close();
        EXPECT_TRUE(contentOf(directory.path("a")) == std::string(70000, 'd') + "end");
    });
}

/// Runs @p action on a thread that is cancelled meanwhile; whether the thread ended by that.
bool isCancelledIn(const std::function<void()>& action) {
    struct Start {
        std::function<void()> action;
        std::atomic<bool> begun{false};
    } start{action, {}};
    const auto entry = [](void* argument) -> void* {
        auto& given = *static_cast<Start*>(argument);
        given.begun = true;
        given.action();
        return nullptr;
    };
    pthread_t thread{};
    EXPECT_EQ(::pthread_create(&thread, nullptr, entry, &start), 0);
    while (!start.begun) {
        ::usleep(500);
    }
    ::usleep(5000);
    ::pthread_cancel(thread);
    void* result = nullptr;
    ::pthread_join(thread, &result);
    return result == PTHREAD_CANCELED;
}

TEST_F(FileStreams, ThreadsAreCancelledInReadingAndAfterAnythingElse) {
    ASSERT_EQ(::mkfifo(directory.path("pipe").c_str(), 0600), 0);
    inChild([&] {  // whose memory nobody counts: the first cancellation loads a library
        const int other = ::open(directory.path("pipe").c_str(), O_RDWR | O_CLOEXEC);
        EXPECT_TRUE(isCancelledIn([&] {
            FileInputStream in(directory.name(u"pipe").c_str());
            char byte = 0;
            in.read(&byte, 1);
        }));
        EXPECT_TRUE(isCancelledIn([&] {
            ::pthread_cancel(::pthread_self());
            {
                FileOutputStream out(directory.name(u"a").c_str());
                out.write("all", 3), out.skip(-1), out.write("l", 1), out.flush();
                FileInputStream in(directory.name(u"a").c_str());
                in.skip(1);
            }
            ::pthread_testcancel();
        }));
        EXPECT_EQ(contentOf(directory.path("a")), "all");
        ::close(other);
        int ends[2] = {};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        EXPECT_TRUE(isCancelledIn([&] {
            net::TCPInputStream in(static_cast<unsigned int>(ends[0]));
            char byte = 0;
            in.read(&byte, 1);
        }));
        EXPECT_TRUE(isCancelledIn([&] {
            net::TCPOutputStream out(static_cast<unsigned int>(ends[1]));
            {
                const xml::DOM::XMLWriter writer(&out, u"BASE64", false);  // whose end writes
                ::pthread_cancel(::pthread_self());
            }
            util::log::ILogger log;
            log.setOutputPath(directory.name(u"log").c_str());
            log.write(u"line");
            ::pthread_testcancel();
        }));
        EXPECT_EQ(::fcntl(ends[0], F_GETFD) + ::fcntl(ends[1], F_GETFD), -2) << "a socket stays open";
        EXPECT_EQ(contentOf(directory.path("log")).size(), 26U);
    });
}

TEST_F(FileStreams, PipesCannotBeMovedAndOnlySkipReportsAFullDevice) {
    ASSERT_EQ(::mkfifo(directory.path("pipe").c_str(), 0600), 0);
    const int other = ::open(directory.path("pipe").c_str(), O_RDWR | O_CLOEXEC);  // so that neither open waits
    FileInputStream in(directory.name(u"pipe").c_str());
    FileOutputStream out(directory.name(u"pipe").c_str());
    expectFailure<IOException>([&] { in.skip(1); }, range + u"0 < 0", inClass);
    expectFailure<IOException>([&] { out.skip(0); }, range + u"-1 < 0", outClass);
    out.write("through", 7);
    out.setFileName(u"/dev/full");
    ::close(other);
    EXPECT_EQ(readAll(in), "through");
    EXPECT_EQ(out.write("x", 1), 1U);
    out.flush();
    out.write("y", 1);
    EXPECT_THROW(out.skip(0), IOException);
}

}  // namespace
}  // namespace moraine::test
