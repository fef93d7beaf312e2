#include <fcntl.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <sys/syscall.h>
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

#include "support.h"

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

/// A lock that is not given back shows as a hang, which ends after so many seconds.
constexpr unsigned int patience = 15;

constexpr key_t lockKey = 0x4C6F674D;

/// Runs @p body in a process of its own, made by @p way.
template <class Body>
pid_t start(Body body, pid_t (*way)() = ::fork) {
    std::fflush(stdout);
    const pid_t child = way();
    if (child == 0) {
        ::alarm(patience);
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

/// What all processes of a test share.
struct Shared {
    std::atomic<int> inside;          // whether somebody has the lock
    std::atomic<int> collisions;      // how often a second one had it
    std::atomic<int> stage;           // of the test; in a fire, the group that shall end
    std::atomic<int> writers, logs;   // made so far
    std::atomic<int> alarms;          // children that were killed
    std::atomic<int> lines[1 << 20];  // of each writer, those whose `write` has returned
};

struct Logger : ::testing::Test {
    Logger() {
        ::unshare(CLONE_NEWIPC);  // if the system lets us: other loggers of the machine and this test need not wait
        ::alarm(patience + fireSeconds());
    }
    static unsigned int fireSeconds() {
        const char* const seconds = std::getenv("MORAINE_FIRE_SECONDS");  // NOLINT(concurrency-mt-unsafe): one thread
        return seconds == nullptr ? 2 : static_cast<unsigned int>(std::stoi(seconds));
    }
    void write(const WideString& file) const {
        Probe(directory.name(file), [] {}).write(u"");
    }
    /// Expects that another thread and another process can log.
    void expectFree() const {
        EXPECT_EQ(endOf(start([&] { std::thread([&] { write(u"free"); }).join(); })), 0);
        std::thread([&] { write(u"free"); }).join();
    }
    /// What a holder of the lock does first: look whether there is another.
    void enter() const { shared->collisions += shared->inside.exchange(1); }
    void leave() const { shared->inside = 0; }
    void await(int stage) const {
        while (shared->stage != stage) {
            ::usleep(1000);
        }
    }
    void TearDown() override {
        EXPECT_EQ(shared->collisions, 0) << "two had the lock";
        ::munmap(shared, sizeof(Shared));
        ::alarm(0);
    }
    void logNumbers(ILogger& log, int count) const;
    void logAsGroup(bool killing) const;
    void fire(std::time_t seconds, bool killing) const;

    const TemporaryDirectory directory;
    Shared* const shared = static_cast<Shared*>(
        ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
};

/// A message that makes a line of 64 bytes, which lies in one page of the file: the system writes all of it or nothing.
std::string numbered(int writer, int number) {
    return std::to_string(1'000'000'000 + writer) + std::string(22, ' ') + std::to_string(1'000'000'000 + number);
}

void Logger::logNumbers(ILogger& log, int count) const {
    const int writer = shared->writers++;
    for (int number = 0; number < count && shared->stage != ::getpgrp(); shared->lines[writer] = ++number) {
        const std::string text = numbered(writer, number);
        log.write(WideString(text.begin(), text.end()).c_str());
    }
}

void Logger::logAsGroup(bool killing) const {
    ::setpgid(0, 0);  // of this process, whose threads log, and of children forked meanwhile, which use its log
    const auto name = [&] { return directory.path(std::to_string(shared->logs++)).u16string(); };
    Probe inner(u"/dev/null", [] {}), log(name(), [&] { enter(), inner.write(u"#"), ::sched_yield(), leave(); });
    std::thread one([&] { logNumbers(log, 1 << 30); }), two([&] { logNumbers(log, 1 << 30); });
    for (unsigned int i = 0; shared->stage != ::getpgrp(); ++i) {
        if (!forksAmongThreads) {
            ::usleep(1000);
            continue;
        }
        const int end = endOf(start([&] {
            log.setOutputPath(name().c_str());  // counts if the parent has not opened the log yet
            i % 3 != 0 && killing ? ::ualarm(i % 3 * 900, 0) : 0;
            logNumbers(log, 50);
        }));
        EXPECT_TRUE(end == 0 || (end == SIGALRM && ++shared->alarms > 0));
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
        shared->stage = killing && random() % 2 == 0 ? 0 : group;  // which then ends by itself
        kills += shared->stage == 0 && ::kill(target, SIGKILL) == 0;
        int status = 0;
        while (::waitpid(group, &status, WNOHANG) == 0) {  // a child that was stopped when it was made may still be
            std::for_each(groups.begin(), groups.end(), [](pid_t each) { ::kill(-each, SIGCONT); });
            ::usleep(1000);
        }
        EXPECT_EQ(status, shared->stage == 0 ? SIGKILL : 0);
        groups.pop_back();
        for (::kill(-group, SIGKILL); ::waitpid(-group, nullptr, 0) > 0;) {
        }
    }
    EXPECT_LE(shared->collisions.exchange(0), 2 * kills + shared->alarms)
        << "more were inside than those who died there";
    std::map<int, int> found;
    for (int log = 0; log < shared->logs; ++log) {
        const std::string text = contentOf(directory.path(std::to_string(log)));
        for (std::size_t at = 0; at < text.size(); at += 64, ++lines) {
            const int writer = std::stoi(text.substr(at + 20, 10)) - 1'000'000'000;
            ASSERT_EQ(text.substr(at + 19, 45), " " + numbered(writer, found[writer]++) + "\r\n");
        }
    }
    for (int writer = 0; writer < shared->writers; ++writer) {  // may have died with a line that it had not counted yet
        const int returned = shared->lines[writer];
        EXPECT_TRUE(found[writer] == returned || (killing && found[writer] == returned + 1)) << writer;
    }
    RecordProperty("lines", lines), RecordProperty("kills", kills + shared->alarms), RecordProperty("stops", stops);
}

TEST_F(Logger, KillingAndStoppingWritersLosesTearsAndRepeatsNoLine) {
    fire(fireSeconds(), true);
    expectFree();
}

TEST_F(Logger, StoppedWritersKeepTheLockAndNobodyElseHasIt) {
    fire(1, false);
}

TEST_F(Logger, AHolderThatDiesFreesTheLockAndASignalDoesNot) {
    const auto hold = [&] { enter(), shared->stage = 1, await(9); };
    const pid_t holder = start([&] { Probe(directory.name(u"a"), hold).write(u""); });
    await(1);
    const pid_t waiting = start([&] {
        struct sigaction action = {};  // without SA_RESTART
        action.sa_handler = [](int) {};
        ::sigaction(SIGUSR1, &action, nullptr);
        shared->stage = 2;
        Probe(directory.name(u"b"), [&] { enter(); }).write(u"");
    });
    await(2);
    for (int i = 0; i < 50; ++i) {
        ::kill(waiting, SIGUSR1);
        ::usleep(1000);
    }
    leave();
    ::kill(holder, SIGKILL);
    EXPECT_TRUE(endOf(waiting) == 0 && endOf(holder) == SIGKILL);
}

TEST_F(Logger, AForkedChildHasNoPartInTheLock) {
    for (pid_t (*const way)() : {&::fork, forksAmongThreads ? &::_Fork : &::fork}) {
        for (const bool leaves : {false, true}) {  // the line that it was forked in, in place of writing one of its own
            const pid_t waiting = start([&] { await(1), Probe(u"/dev/null", [&] { enter(), leave(); }).write(u""); });
            pid_t child = -1;
            Probe probe(directory.name(u"p"), [&] {
                enter();
                shared->stage = 1;
                child = start(
                    [&] {
                        if (leaves) {
                            probe.inside = [] { throw 7; };
                            EXPECT_THROW(probe.write(u""), int);
                        }
                        probe.inside = [&] { enter(), leave(); };
                        probe.write(u"child");
                    },
                    way);
                ::usleep(20000);
                leave();
            });
            probe.write(u"");
            EXPECT_TRUE(endOf(child) == 0 && endOf(waiting) == 0);
            EXPECT_EQ(contentOf(directory.path("p")).size(), 22U + 27);
        }
    }
}

TEST_F(Logger, AChildThatLeavesItsParentsLineFreesNothing) {
    pid_t waiting = -1, child = -1;
    bool isChild = false;
    Probe probe(directory.name(u"p"), [&] {
        enter();
        waiting = start([&] { Probe(u"/dev/null", [&] { enter(), leave(); }).write(u""); });
        child = ::fork();
        isChild = child == 0;
        if (isChild) {
            throw 7;
        }
        EXPECT_EQ(endOf(child), 0);
        ::usleep(20000);
        leave();
    });
    try {
        probe.write(u"");
    } catch (int) {
        ::_exit(isChild ? 0 : 1);
    }
    EXPECT_EQ(endOf(waiting), 0);
}

TEST_F(Logger, AChildForkedBesideALineWaitsForItAndMayUseTheSameLogger) {
    Probe probe(directory.name(u"o"), [&] { enter(), shared->stage = 1, await(2), leave(); });
    std::thread other([&] { probe.write(u""); });
    await(1);
    EXPECT_EQ(endOf(start([&] { shared->stage = 2, probe.inside = [&] { enter(), leave(); }, probe.write(u"c"); })), 0);
    other.join();
    EXPECT_EQ(contentOf(directory.path("o")).size(), 22U + 23);
}

TEST_F(Logger, NoDescriptorIsKept) {
    const long descriptors = openDescriptors();
    const int end = endOf(start([&] {
        std::thread([&] {
            Probe(directory.name(u"a"), [&] { EXPECT_EQ(openDescriptors(), descriptors + 1); }).write(u"");
            EXPECT_EQ(openDescriptors(), descriptors);
            for (int i = 3; i < 1024; ++i) {
                ::close(i);
            }
            EXPECT_EQ(::creat(directory.path("own").c_str(), 0666), 3);
            EXPECT_EQ(::flock(3, LOCK_EX), 0);
            write(u"b");
        }).join();
        write(u"c");
        const int again = ::open(directory.path("own").c_str(), O_RDONLY | O_CLOEXEC);
        EXPECT_TRUE(again == 4 && ::flock(again, LOCK_EX | LOCK_NB) != 0) << "lost the lock of a file of its own";
    }));
    EXPECT_EQ(end, 0);
}

/// Runs @p body in a process with a lock of its own, as one who may do with it what he likes. 77 if the system gives
/// none.
template <class Body>
int endWithOwnLock(Body body) {
    return endOf(start([&] {
        if (::unshare(CLONE_NEWIPC) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWIPC) != 0) {
            ::_exit(77);
        }
        body();
    }));
}

TEST_F(Logger, TheLockIsForAllUsersAndMayBeRemoved) {
    const int end = endWithOwnLock([&] {
        ::umask(077);
        write(u"a");
        semid_ds status{};
        EXPECT_EQ(::semctl(::semget(lockKey, 1, 0), 0, IPC_STAT, &status), 0);
        EXPECT_EQ(status.sem_perm.mode & 0777, 0666);
        const auto hold = [&] { enter(), shared->stage = 1, await(2), leave(); };
        const pid_t other = start([&] {
            Probe probe(u"/dev/null", hold);
            EXPECT_TRUE(::setuid(65534) == 0 || ::geteuid() != 0);  // another user, if the system lets us
            probe.write(u"");
        });
        await(1);
        const pid_t waiting = start([&] { Probe(u"/dev/null", [&] { enter(), leave(); }).write(u""); });
        ::usleep(20000);
        shared->stage = 2;
        EXPECT_TRUE(endOf(other) == 0 && endOf(waiting) == 0);

        std::vector<pid_t> writers;
        for (const WideChar* name : {u"x", u"y", u"z"}) {
            writers.push_back(start([&] {
                Probe probe(directory.name(name), [] { ::sched_yield(); });
                for (int i = 0; i < 2000; ++i) {
                    probe.write(u"");
                }
            }));
        }
        std::atomic<bool> done{false};
        std::thread remover([&] {
            for (; !done; ::usleep(100)) {
                ::semctl(::semget(lockKey, 1, 0), 0, IPC_RMID);
            }
        });
        for (const pid_t writer : writers) {
            EXPECT_EQ(endOf(writer), 0);
        }
        done = true;
        remover.join();
        for (const char* name : {"x", "y", "z"}) {
            EXPECT_EQ(std::filesystem::file_size(directory.path(name)), 22U * 2000);
        }
    });
    if (end == W_EXITCODE(77, 0)) {
        GTEST_SKIP() << "the system gives no semaphores of one's own";
    }
    EXPECT_EQ(end, 0);
}

TEST_F(Logger, WithoutTheLockOnlyTheThreadsOfOneLoggerExcludeEachOther) {
    const int end = endWithOwnLock([&] {
        EXPECT_GE(::semget(lockKey, 1, IPC_CREAT), 0);  // for nobody
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        __user_cap_data_struct nothing[2] = {};
        EXPECT_EQ(::syscall(SYS_capset, &header, nothing), 0);  // not even for the user who may do everything
        Probe inner(u"/dev/null", [] {});
        Probe probe(directory.name(u"a"), [&] { enter(), ::sched_yield(), inner.write(u""), leave(); });
        std::thread one([&] { logNumbers(probe, 500); }), two([&] { logNumbers(probe, 500); });
        one.join(), two.join();
        EXPECT_EQ(std::filesystem::file_size(directory.path("a")), 64U * 1000);
        probe.inside = [&] { EXPECT_EQ(endOf(start([&] { write(u"b"); })), 0) << "waits for another process"; };
        probe.write(u"");
    });
    if (end == W_EXITCODE(77, 0)) {
        GTEST_SKIP() << "the system gives no semaphores of one's own";
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
