// The examples of docs/threads.md.

#include <pthread.h>

#include <cstring>
#include <future>
#include <memory>

#include <moraine/lang/IThread.h>

#include "tests/support.h"

using namespace moraine;

namespace {

//! [worker]
class Adder : public lang::IThread {
public:
    // Nothing may leave run: there is nobody on its thread to catch it.
    void run() override {
        for (int i = 1; i <= 100; ++i) {
            sum += i;
        }
    }

    int sum = 0;
};
//! [worker]

//! [entry]
struct Start {
    lang::IThread* worker = nullptr;
    std::promise<void> ended;
};

extern "C" void* entry(void* argument) {
    const std::unique_ptr<Start> start(static_cast<Start*>(argument));
    lang::IThread::threadBody(start->worker);
    start->ended.set_value();  // after threadBody, which uses the object to its end
    return nullptr;
}
//! [entry]

TEST(Threads, AreAwaitedWithoutJoining) {
    //! [starting]
    Adder adder;
    auto start = std::make_unique<Start>();
    start->worker = &adder;
    std::future<void> ended = start->ended.get_future();

    pthread_t thread{};
    if (pthread_create(&thread, nullptr, entry, start.get()) != 0) {
        FAIL() << "no thread could be started";
    }
    static_cast<void>(start.release());  // belongs to the thread
    void* handle = nullptr;
    static_assert(sizeof handle == sizeof thread);
    std::memcpy(&handle, &thread, sizeof handle);
    adder.setThreadHandle(handle);  // from here on the object closes it

    ended.wait();
    //! [starting]
    EXPECT_EQ(adder.sum, 5050);
}

}  // namespace
