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
    const std::size_t nameLength = text::lengthOf(className);
    constexpr std::size_t around = 5 + 1 + 11 + 3;  // with the longest number
    trace.reserve(trace.size() + nameLength + around);
    trace.append(u"\tat ").append(className, nameLength).append(u"(");
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
