#include <pthread.h>

#include <functional>
#include <future>

#include "moraine/lang/IThread.h"

#include "support.h"

namespace moraine::test {
namespace {

using lang::IThread;

struct Worker : IThread {
    void run() override { work(); }
    std::function<void()> work = [] {};
};

/// A thread that a client has started on an object.
struct Start {
    explicit Start(IThread& object) : worker(&object) { EXPECT_EQ(::pthread_create(&thread, nullptr, entry, this), 0); }
    void* handle() const { return reinterpret_cast<void*>(thread); }
    static void* entry(void* start) {
        IThread::threadBody(static_cast<Start*>(start)->worker);
        static_cast<Start*>(start)->ended.set_value();
        return nullptr;
    }

    IThread* worker;
    std::promise<void> ended;
    std::future<void> end = ended.get_future();
    pthread_t thread{};
};

TEST(Thread, ThreadsThatEndBeforeOrBehindTheStoringOfTheirHandleLeaveNothing) {
    std::ptrdiff_t mappings = 0;  // a thread that has ended keeps its stack until its handle is closed
    for (int i = 0; i < 220; ++i) {
        for (const bool endsFirst : {false, true}) {
            Worker worker;
            Start start(worker);
            if (endsFirst) {
                start.end.wait();
            }
            worker.setThreadHandle(start.handle());
            start.end.wait();
        }
        const std::string maps = contentOf("/proc/self/maps");
        const auto now = std::count(maps.begin(), maps.end(), '\n');
        mappings = i == 20 ? now : mappings;
        ASSERT_TRUE(i < 20 || now < mappings + 100) << now;
    }
}

TEST(Thread, TheObjectClosesTheHandleThatItHoldsAndNoOther) {
    const auto isClosed = [](const Start& start) {
        pthread_attr_t attributes;
        int state = PTHREAD_CREATE_JOINABLE;
        ::pthread_getattr_np(start.thread, &attributes);
        ::pthread_attr_getdetachstate(&attributes, &state);
        ::pthread_attr_destroy(&attributes);
        return state == PTHREAD_CREATE_DETACHED;
    };
    std::promise<void> go;
    Worker parked;
    auto owner = std::make_unique<Worker>();
    Worker& worker = *owner;
    parked.setThreadName(u"parked");
    parked.setThreadName(parked.getThreadName() + 1);  // the present one
    EXPECT_EQ(parked.getThreadName(), std::u16string(u"arked"));
    parked.work = [told = go.get_future().share()] { told.wait(); };
    Start replaced(parked), closed(parked), left(parked);
    worker.setThreadHandle(replaced.handle());
    worker.setThreadHandle(closed.handle());
    worker.work = [&] { EXPECT_TRUE(worker.getThreadHandle() == closed.handle() && !isClosed(closed)); };
    IThread::threadBody(static_cast<IThread*>(&worker));  // on this thread
    EXPECT_TRUE(worker.getThreadHandle() == nullptr && isClosed(closed));
    worker.setThreadHandle(left.handle());
    worker.work = [] { throw 7; };
    EXPECT_THROW(IThread::threadBody(static_cast<IThread*>(&worker)), int);
    EXPECT_TRUE(worker.getThreadHandle() == left.handle() && !isClosed(left));
    owner.reset();
    EXPECT_TRUE(isClosed(left) && !isClosed(replaced)) << "the end of an object closes what it still holds";
    parked.setThreadHandle(replaced.handle());
    go.set_value();
    replaced.end.wait();
    closed.end.wait();
    left.end.wait();
}

}  // namespace
}  // namespace moraine::test
