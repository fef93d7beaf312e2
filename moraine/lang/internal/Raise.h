#pragma once

#include "moraine/WideChar.h"

namespace moraine::lang {

inline void appendPiece(WideString& target, const WideChar* piece) {
    target.append(piece, text::lengthOf(piece));
}
inline void appendPiece(WideString& target, const WideString& piece) {
    target.append(piece);
}
inline void appendPiece(WideString& target, WideChar piece) {
    target.push_back(piece);
}
inline void appendPiece(WideString& target, long number) {
    text::appendDecimal(target, number);
}
inline void appendPiece(WideString& target, unsigned int number) {
    text::appendDecimal(target, number);
}

/// The words of a failure: texts and units as they are, numbers in decimal.
template <class... Pieces>
WideString message(const Pieces&... pieces) {
    WideString result;
    (appendPiece(result, pieces), ...);
    return result;
}

/// An `E` with a message, which ends at its first zero unit. It is made in the place where it is needed: a local object
/// would have to be copied, and destroyed on the way out.
template <class E>
E made(const WideChar* className, const WideChar* message, long line) {
    E exception(className, line);
    exception.setMessage(message);
    return exception;
}

/// Throws an `E` without a message. Its trace names the class that fails and the line of this call.
template <class E>
[[noreturn]] void raise(const WideChar* className, long line = __builtin_LINE()) {
    throw E(className, line);
}

/// Throws an `E` with a message.
template <class E>
[[noreturn]] void raise(const WideChar* className, const WideChar* message, long line = __builtin_LINE()) {
    throw made<E>(className, message, line);
}

template <class E>
[[noreturn]] void raise(const WideChar* className, const WideString& message, long line = __builtin_LINE()) {
    throw made<E>(className, message.c_str(), line);
}

/// Adds a line to the trace of a caught exception and throws it on as an `E`, which is the class of the clause and
/// not that of the object caught.
template <class E>
[[noreturn]] void passOn(E& exception, const WideChar* className, long line = __builtin_LINE()) {
    exception.addTrace(className, line);
    throw E(exception);
}

}  // namespace moraine::lang
