#pragma once

#include "moraine/Export.h"
#include "moraine/WideChar.h"

namespace moraine::lang {

/// The root of every failure that the library reports.
///
/// A failure is known by its class, a free-text message and a trace. The trace is text made by hand: one line for
/// the statement that threw, and one for each layer that caught the exception, added its own line and threw it on.
/// Clients add lines and throw on in the same way:
///
///     catch (moraine::lang::Exception& e) {
///         e.addTrace(u"my::Loader", __LINE__);
///         throw;
///     }
///
/// Where the library itself passes a failure on, it throws a copy of the class that its `catch` clause names. So what
/// is documented as `Exception` itself, and not as a class derived from it, is taken by a handler for `Exception&`
/// only.
///
/// The family does not derive from `std::exception`, so a handler for that class does not take it. All members
/// that build text pass on `std::bad_alloc`; none throws an exception of the family. A null text argument counts as
/// empty. An object is used by one thread at a time.
class MORAINE_API Exception {
public:
    /// An exception with an empty message and one trace line.
    /// @param className the name of the class that fails, zero-terminated; copied
    /// @param line the number of the source line, for the reader of the trace
    Exception(const WideChar* className, long line);

    /// Copies message and trace. The new object is of this class, whatever the class of @p other.
    Exception(const Exception& other);

    virtual ~Exception();

    /// Takes over message and trace. The object keeps its own class.
    Exception& operator=(const Exception& other);

    /// Replaces the message by a copy of the zero-terminated @p text.
    void setMessage(const WideChar* text);

    /// Appends the trace line "\tat CLASSNAME(LINE)\r\n". Of @p line the low 32 bits count, as a signed number.
    void addTrace(const WideChar* className, long line);

    /// Appends @p text and "\r\n" to the trace as a line of its own.
    void addStackTrace(const WideChar* text);

    /// A new copy of the message, empty if none was set.
    OwnedWideString getMessage();

    /// A new text with the whole report: the name of the object's class, " : " and the message if there is one,
    /// "\r\n", and the trace. The name is the qualified one, but that of a plain `Exception` reads
    /// "moraine::exception::Exception".
    OwnedWideString getTrace();

protected:
    /// Empty message, empty trace.
    Exception();

    /// The name that a report begins with: static text.
    virtual const WideChar* getClassName() const;

private:
    WideString trace;
    WideString message;
};

}  // namespace moraine::lang
