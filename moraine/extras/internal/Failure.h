#pragma once

#include <cstddef>

#include "moraine/text/WideChar.h"

namespace moraine::extras {

inline void appendWord(WideString& target, const WideChar* word) {
    target.append(word);
}
inline void appendWord(WideString& target, const WideString& word) {
    target.append(word);
}
inline void appendWord(WideString& target, WideChar word) {
    target.push_back(word);
}
inline void appendWord(WideString& target, long long number) {
    text::appendDecimal(target, number);
}
inline void appendWord(WideString& target, unsigned long long number) {
    text::appendDecimal(target, static_cast<long long>(number));
}
inline void appendWord(WideString& target, unsigned long number) {
    text::appendDecimal(target, static_cast<long long>(number));
}

/// The words of a failure: texts and units as they are, numbers in decimal.
template <class... Words>
WideString words(const Words&... pieces) {
    WideString result;
    (appendWord(result, pieces), ...);
    return result;
}

/// Throws an `E` with a message. Its trace names the class that fails and the line of this call.
template <class E>
[[noreturn]] void raise(const WideChar* className, const WideString& message, long line = __builtin_LINE()) {
    E failure(className, line);
    failure.setMessage(message.c_str());
    throw E(failure);
}

}  // namespace moraine::extras
