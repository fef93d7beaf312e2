#include "moraine/lang/Exception.h"

#include <cstdint>

namespace moraine::lang {

Exception::Exception() = default;

Exception::Exception(const WideChar* className, long line) {
    addTrace(className, line);
}

Exception::Exception(const Exception& other) = default;

Exception::~Exception() = default;

Exception& Exception::operator=(const Exception& other) = default;

void Exception::setMessage(const WideChar* text) {
    message.assign(text, text::lengthOf(text));
}

void Exception::addTrace(const WideChar* className, long line) {
    trace.append(u"\tat ").append(className, text::lengthOf(className)).append(u"(");
    text::appendDecimal(trace, static_cast<std::int32_t>(line));
    trace.append(u")\r\n");
}

void Exception::addStackTrace(const WideChar* text) {
    trace.append(text, text::lengthOf(text)).append(u"\r\n");
}

OwnedWideString Exception::getMessage() {
    return std::make_unique<WideString>(message);
}

OwnedWideString Exception::getTrace() {
    auto report = std::make_unique<WideString>(getClassName());
    if (!message.empty()) {
        report->append(u" : ").append(message);
    }
    report->append(u"\r\n").append(trace);
    return report;
}

const WideChar* Exception::getClassName() const {
    return u"moraine::exception::Exception";
}

}  // namespace moraine::lang
