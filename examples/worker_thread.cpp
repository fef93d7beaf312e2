// Runs work on a thread of its own, and waits for its end in a way that works on every system.

#include <pthread.h>

#include <cstring>
#include <future>

#include "moraine/lang/IThread.h"

#include "console.h"

namespace {

constexpr const char* usage = "usage: worker_thread [COUNT]\n"
                              "\n"
                              "Adds the numbers from 1 to COUNT (10 million by default) on a thread of its own.\n"
                              "\n"
                              "  --help  print this text\n";

/// The work: an object with what it needs and what it finds.
class Adder : public moraine::lang::IThread {
public:
    explicit Adder(unsigned long last) : count(last) {}

    // A worker does not let an exception out of run: there is nobody on its thread to catch it.
    void run() override {
        for (unsigned long i = 1; i <= count; ++i) {
            sum += i;
        }
    }

    unsigned long getSum() const { return sum; }

private:
    unsigned long count;
    unsigned long sum = 0;
};

/// What a new thread is given: the object, and how to tell that the thread has done with it.
struct Start {
    moraine::lang::IThread* worker;
    std::promise<void> ended;
};

/// The entry of the thread. It tells after threadBody, and not in run, since threadBody still uses the object when
/// run has returned.
void* entry(void* argument) {
    auto* const start = static_cast<Start*>(argument);
    moraine::lang::IThread::threadBody(start->worker);
    start->ended.set_value();
    return nullptr;
}

int program(unsigned long count) {
    Adder adder(count);
    adder.setThreadName(u"adder");
    Start start{&adder, {}};
    const std::future<void> ended = start.ended.get_future();

    pthread_t thread{};
    if (pthread_create(&thread, nullptr, entry, &start) != 0) {
        throw std::runtime_error("no thread could be started");
    }
    // From here on the object owns the handle and closes it. Nobody joins the thread.
    void* handle = nullptr;
    static_assert(sizeof handle == sizeof thread);
    std::memcpy(&handle, &thread, sizeof handle);
    adder.setThreadHandle(handle);

    ended.wait();
    std::printf("%s: 1 + ... + %lu = %lu\n", console::narrow(adder.getThreadName()).c_str(), count, adder.getSum());
    return console::done;
}

}  // namespace

int main(int argc, char** argv) {
    return console::run(argc, argv, usage, {}, [](const console::CommandLine& line) {
        line.expectWords(0, 1);
        return program(console::numberFrom<unsigned long>(line.word(0, "10000000"), 0));
    });
}
