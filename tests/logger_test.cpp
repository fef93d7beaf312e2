#include "support.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <random>
#include <thread>

#include "moraine/io/DataFormatException.h"
#include "moraine/io/FileNotFoundException.h"
#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/IllegalStateException.h"
#include "moraine/util/log/ILogger.h"

static std::atomic<std::time_t> fixedTime{0};

/// Writes the counters of a build for coverage, which `_exit` does not; null in other builds.
extern "C" [[gnu::weak]] void __gcov_dump();  // NOLINT(bugprone-reserved-identifier)

/// The clock of the whole program, in place of the system's, so that a test can set it.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" std::time_t time(std::time_t* target) noexcept {
    timespec now{fixedTime, 0};
    now.tv_sec == 0 ? ::clock_gettime(CLOCK_REALTIME, &now) : 0;
    return target == nullptr ? now.tv_sec : *target = now.tv_sec;
}

namespace moraine::test {
namespace {

using util::log::ILogger;

static_assert(!std::is_copy_constructible_v<ILogger> && !std::is_copy_assignable_v<ILogger>);

struct Probe : ILogger {
    Probe(const WideString& path, std::function<void()> hook) : inside(std::move(hook)) { setOutputPath(path.c_str()); }
    const WideChar* getClassName() const override { return named(), u"Probe"; }
    void doWriteLog(const WideChar* message) override { inside(), ILogger::doWriteLog(message); }
    std::function<void()> inside, named = [] {};
};

/// Whether a child forked beside other threads may go on: one sanitizer's allocator may be held by a thread that the
/// child does not have, and the other misses that thread's end.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool forksAmongThreads = false;
#else
constexpr bool forksAmongThreads = true;
#endif

/// Runs @p body in a process of its own, which a hang ends.
template <class Body>
pid_t start(Body body) {
    std::fflush(stdout);
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(100);
        [&]() noexcept { body(); }();  // NOLINT(bugprone-exception-escape): what is thrown ends the process
        __gcov_dump != nullptr ? __gcov_dump() : void();
        ::_exit(::testing::Test::HasFailure());
    }
    return child;
}

int endOf(pid_t child) {
    int status = -1;
    return ::waitpid(child, &status, 0), status;
}

struct Logger : ::testing::Test {
    void write(const WideString& file) const {
        Probe(directory.name(file), [] {}).write(u"");
    }
    /// Expects that another thread and another process can log.
    void expectFree() const {
        EXPECT_EQ(endOf(start([&] { std::thread([&] { write(u"free"); }).join(); })), 0);
        std::thread([&] { write(u"free"); }).join();
    }
    /// What a holder of the lock does first: look whether there is another.
    void enter() const { shared[1] += shared[0].exchange(1); }
    void await(int stage) const {
        while (shared[2] != stage) {
            ::usleep(1000);
        }
    }
    void TearDown() override { EXPECT_EQ(shared[1], 0) << "two had the lock"; }
    void logNumbers(ILogger& log, int count) const;
    void logAsGroup(bool killing) const;
    void fire(std::time_t seconds, bool killing) const;

    const TemporaryDirectory directory;
    std::atomic<int>* const shared = static_cast<std::atomic<int>*>(  // by all processes
        ::mmap(nullptr, 1 << 22, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
};

/// A message that makes a line of 64 bytes, which lies in one page of the file: the system writes all of it or nothing.
std::string numbered(int writer, int number) {
    return std::to_string(1'000'000'000 + writer) + std::string(22, ' ') + std::to_string(1'000'000'000 + number);
}

void Logger::logNumbers(ILogger& log, int count) const {
    const int writer = 16 + shared[3]++;  // where it counts the lines whose `write` has returned
    for (int number = 0; number < count && shared[2] != ::getpgrp(); shared[writer] = ++number) {
        const std::string text = numbered(writer, number);
        log.write(WideString(text.begin(), text.end()).c_str());
    }
}

void Logger::logAsGroup(bool killing) const {
    ::setpgid(0, 0);  // of this process, whose threads log, and of children forked meanwhile, which use its log
    const auto name = [&] { return directory.path(std::to_string(shared[4]++)).u16string(); };
    Probe inner(u"/dev/null", [] {}), log(name(), [&] { enter(), inner.write(u"#"), ::sched_yield(), shared[0] = 0; });
    std::thread one([&] { logNumbers(log, 1 << 30); }), two([&] { logNumbers(log, 1 << 30); });
    for (unsigned int i = 0; shared[2] != ::getpgrp(); ++i) {
        if (!forksAmongThreads) {
            ::usleep(1000);
            continue;
        }
        const int end = endOf(start([&] {
            log.setOutputPath(name().c_str());  // counts if the parent has not opened the log yet
            i % 3 != 0 && killing ? ::ualarm(i % 3 * 900, 0) : 0;
            logNumbers(log, 50);
        }));
        EXPECT_TRUE(end == 0 || (end == SIGALRM && ++shared[5] > 0));
    }
    one.join(), two.join();
}

void Logger::fire(std::time_t seconds, bool killing) const {
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);  // so that children whose parent is gone can be awaited
    std::random_device random;
    int kills = 0, stops = 0, lines = 0;
    std::vector<pid_t> groups;
    const std::time_t end = ::time(nullptr) + seconds;
    for (bool more = true; more || !groups.empty(); more = ::time(nullptr) < end) {
        for (; more && groups.size() < 3; ::setpgid(groups.back(), groups.back())) {
            groups.push_back(start([&] { logAsGroup(killing); }));
        }
        std::swap(groups[random() % groups.size()], groups.back()), ::usleep(random() % 4000);
        const pid_t group = groups.back(), target = random() % 2 == 0 ? group : -group;
        if (random() % 4 != 0) {
            ++stops, ::kill(target, SIGSTOP), ::usleep(random() % 3000), ::kill(target, SIGCONT);
            continue;
        }
        shared[2] = killing && random() % 2 == 0 ? 0 : group;  // which then ends by itself
        kills += shared[2] == 0 && ::kill(target, SIGKILL) == 0;
        int status = 0;
        while (::waitpid(group, &status, WNOHANG) == 0) {  // a child that was stopped when it was made may still be
            std::for_each(groups.begin(), groups.end(), [](pid_t each) { ::kill(-each, SIGCONT); });
            ::usleep(1000);
        }
        EXPECT_EQ(status, shared[2] == 0 ? SIGKILL : 0);
        groups.pop_back();
        for (::kill(-group, SIGKILL); ::waitpid(-group, nullptr, 0) > 0;) {
        }
    }
    EXPECT_LE(shared[1].exchange(0), 2 * kills + shared[5]) << "more were inside than those who died there";
    std::map<int, int> found;
    for (int log = 0; log < shared[4]; ++log) {
        const std::string text = contentOf(directory.path(std::to_string(log)));
        for (std::size_t at = 0; at < text.size(); at += 64, ++lines) {
            const int writer = std::stoi(text.substr(at + 20, 10)) - 1'000'000'000;
            ASSERT_EQ(text.substr(at + 19, 45), " " + numbered(writer, found[writer]++) + "\r\n");
        }
    }
    for (int writer = 16; writer < 16 + shared[3]; ++writer) {  // may have died with a line that it had not counted yet
        EXPECT_TRUE(found[writer] == shared[writer] || (killing && found[writer] == shared[writer] + 1)) << writer;
    }
    RecordProperty("lines", lines), RecordProperty("kills", kills + shared[5]), RecordProperty("stops", stops);
}

TEST_F(Logger, KillingAndStoppingWritersLosesTearsAndRepeatsNoLine) {
    const char* const seconds = std::getenv("MORAINE_FIRE_SECONDS");  // NOLINT(concurrency-mt-unsafe): one thread
    fire(seconds == nullptr ? 2 : std::stoi(seconds), true);
    expectFree();
}

TEST_F(Logger, StoppedWritersKeepTheLockAndNobodyElseHasIt) {
    fire(1, false);
}

TEST_F(Logger, AHolderThatDiesFreesTheLockAndASignalDoesNot) {
    const auto hold = [&] { enter(), shared[2] = 1, await(9); };
    const pid_t holder = start([&] { Probe(directory.name(u"a"), hold).write(u""); });
    await(1);
    const pid_t waiting = start([&] {
        struct sigaction action = {};  // without SA_RESTART
        action.sa_handler = [](int) {};
        ::sigaction(SIGUSR1, &action, nullptr);
        shared[2] = 2;
        Probe(directory.name(u"b"), [&] { enter(); }).write(u"");
    });
    await(2);
    for (int i = 0; i < 50; ++i) {
        ::kill(waiting, SIGUSR1);
        ::usleep(1000);
    }
    shared[0] = 0;
    ::kill(holder, SIGKILL);
    EXPECT_TRUE(endOf(waiting) == 0 && endOf(holder) == SIGKILL);
}

TEST_F(Logger, AForkedChildHasNoPartInTheLock) {
    const int end = endOf(start([&] {
        std::thread other([&] { write(u"o"), shared[2] = 1, await(2); });
        await(1);
        pid_t child = -1;
        Probe probe(directory.name(u"p"), [&] {
            enter();
            const long descriptors = openDescriptors();
            child = start([&] {
                EXPECT_EQ(openDescriptors(), descriptors - 2) << "has the descriptors of two threads";
                probe.inside = [&] { enter(); };
                probe.write(u"child");
            });
            ::usleep(20000);
            shared[0] = 0;
        });
        probe.write(u"");
        EXPECT_EQ(endOf(child), 0);
        shared[2] = 2;
        other.join();
    }));
    EXPECT_TRUE(end == 0 && contentOf(directory.path("p")).size() == 22 + 27);
}

TEST_F(Logger, AForkDoesNotWaitForEverForALineThatIsWritten) {
    std::thread other([&] { Probe(directory.name(u"o"), [&] { shared[2] = 1, await(2); }).write(u""); });
    await(1);
    EXPECT_EQ(endOf(start([&] { shared[2] = 2, write(u"c"); })), 0);
    other.join();
}

TEST_F(Logger, DescriptorsEndWithTheirThreads) {
    struct Last {  // logs when its thread ends, behind whatever the thread made later
        ~Last() { logger->write(u"last"); }
        const Logger* logger;
    };
    write(u"a");
    const long descriptors = openDescriptors();
    const int next = ::dup(0);
    ::close(next);
    for (int i = 0; i < 50; ++i) {
        std::thread([&] {
            thread_local const Last last{this};
            last.logger->write(u"b");
            EXPECT_TRUE(openDescriptors() == descriptors + 1 && ::fcntl(next, F_GETFD) == FD_CLOEXEC);
        }).join();
    }
    EXPECT_EQ(openDescriptors(), descriptors);
    expectFree();
}

TEST_F(Logger, ALockFileThatIsMissingOrUselessLocksNobodyOut) {
    // In a folder for temporary files of its own, so that nobody else sees what happens to the file.
    const int end = endOf(start([&] {
        const std::string folder = "/tmp", file = folder + "/LoggerMutex.lock", logs = directory.root;
        if (::unshare(CLONE_NEWNS) != 0 ||  // only root may
            ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("none", folder.c_str(), "tmpfs", 0, "mode=1777") != 0) {
            ::_exit(77);
        }
        std::filesystem::create_directories(logs);
        ::chmod(logs.c_str(), 0777);
        ::umask(077);
        for (int twice = 0; twice < 2; ++twice) {
            write(u"a");
            EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0666)) << "not made anew";
            std::thread([&] { write(u"t"); }).join();  // whose descriptor is the first in the row
            fire(0, false);
            std::filesystem::remove(file);
        }
        EXPECT_EQ(::symlink("elsewhere", file.c_str()), 0);
        write(u"x");
        std::filesystem::remove(file);
        EXPECT_EQ(::mkdir(file.c_str(), 0700), 0);
        write(u"y");
        std::filesystem::remove(file);
        EXPECT_EQ(::mkfifo(file.c_str(), 0666), 0);
        std::thread([&] { write(u"p"); }).join();
        std::filesystem::remove(file);
        ::close(::creat(file.c_str(), 0600));
        __gcov_dump != nullptr ? __gcov_dump() : void();        // the other user cannot
        EXPECT_TRUE(::setuid(65534) == 0 || ::geteuid() != 0);  // another user, if the system lets us
        write(u"z");
        for (const char* name : {"x", "y", "p", "z"}) {
            EXPECT_EQ(std::filesystem::file_size(directory.path(name)), 22U);
        }
    }));
    if (end == W_EXITCODE(77, 0)) {
        GTEST_SKIP() << "the system gives no folder of one's own";
    }
    EXPECT_EQ(end, 0);
}

TEST_F(Logger, FailuresPassThroughAndFreeTheLockBeforeTheyGetTheirLine) {
    Probe probe(directory.name(u"no\\file"), [] {});
    probe.named = [&] { expectFree(); };
    EXPECT_EQ(probe.getOutputPath(), directory.name(u"no\\file"));
    const auto log = [&] { probe.write(u"x"); };
    const std::vector<WideString> layers = {u"moraine::io::FileOutputStream", u"Probe"};
    for (int twice = 0; twice < 2; ++twice) {
        expectFailure<io::FileNotFoundException>(log, directory.name(u"no/file"), layers);
    }
    makeFile(directory.path("a"), "what was there before");
    probe.setOutputPath(directory.name(u"a").c_str());
    log();
    probe.setOutputPath(directory.name(u"b").c_str());  // does not redirect what is open
    probe.setOutputPath(probe.getOutputPath());
    EXPECT_EQ(probe.getOutputPath(), directory.name(u"b"));
    const auto expectPassing = [&](auto failure, const std::vector<WideString>& lines) {
        probe.inside = [&] { throw failure; };
        expectFailure<decltype(failure)>(log, u"", lines);
    };
    expectPassing(lang::IllegalArgumentException(u"In", 1), {u"In", u"Probe"});
    expectPassing(lang::IllegalStateException(u"In", 1), {u"In", u"Probe"});
    expectPassing(io::FileNotFoundException(u"In", 1), {u"In", u"Probe"});
    expectPassing(io::IOException(u"In", 1), {u"In", u"Probe"});
    expectPassing(io::DataFormatException(u"In", 1), {u"In"});
    probe.inside = [] { throw 7; };
    EXPECT_THROW(log(), int);
    expectFree();
    probe.inside = [] {};
    log();
    EXPECT_EQ(contentOf(directory.path("a")).size(), 46U);
    const WideString name = u"moraine::util::log::ILogger";
    expectFailure<io::IOException>([] { Probe(u"", [] {}).doWriteLog(u""); }, u"The file is not write.", layers);
    expectFailure<lang::IllegalStateException>([] { ILogger().write(u""); }, u"Output path is NULL.", {name});
}

TEST_F(Logger, LinesHaveTheUniversalTimeInUtf8) {
    // clang-format off
    const std::tuple<std::time_t, WideString, std::string> rows[] = {
        {1, u"first", "1970/01/01 00:00:01 first"}, {1794987322, u"hello", "2026/11/18 07:35:22 hello"},
        {1794987359, u"", "2026/11/18 07:35:59 "}, {1794987360, u"\u00E9\u20AC", "2026/11/18 07:36:00 \xC3\xA9\xE2\x82\xAC"},
        {951782399, u"-", "2000/02/28 23:59:59 -"}, {951782400, u"a\r\nb", "2000/02/29 00:00:00 a\r\nb"},
        {951868800, u"-", "2000/03/01 00:00:00 -"}, {4107542400, u"-", "2100/03/01 00:00:00 -"},
        {1735689599, u"-", "2024/12/31 23:59:59 -"}, {253402300799, u"-", "9999/12/31 23:59:59 -"}};
    // clang-format on
    const int end = endOf(start([&] {
        ::setenv("TZ", "XYZ+5", 1);  // NOLINT(concurrency-mt-unsafe): one thread
        ::tzset();
        Probe logger(directory.name(u"log"), [] {});
        std::string expected;
        for (const auto& [now, message, line] : rows) {
            fixedTime = now;
            logger.write(message.c_str());
            EXPECT_EQ(contentOf(directory.path("log")), expected += line + "\r\n") << "not there at once";
        }
    }));
    EXPECT_EQ(end, 0);
}

}  // namespace
}  // namespace moraine::test
