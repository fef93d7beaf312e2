#include <moraine/io/IOException.h>

#include "bench.h"
#include "moraine/lang/internal/Raise.h"

using moraine::io::IOException;

namespace {

[[gnu::noinline]] void fail() {
    moraine::lang::raise<IOException>(u"bench.Thrower", u"The file is not open.");
}

[[gnu::noinline]] void passOn() {
    try {
        fail();
    } catch (IOException& exception) {
        exception.addTrace(u"bench.Thrower", __LINE__);
        throw exception;
    }
}

std::string caught() {
    try {
        passOn();
    } catch (const IOException&) {
        return "caught";
    }
    return "nothing thrown";
}

const bench::Jobs jobs{
    [] { bench::job("exception/thrown, passed on once, caught", 0, {bench::column("moraine", caught)}); }};

}  // namespace
