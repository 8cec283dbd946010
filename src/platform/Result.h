#pragma once

#include <QString>

#include <optional>
#include <source_location>
#include <utility>

namespace tolvane {

// Why an operation at an I/O boundary did not succeed: one line of text, the path it concerns
// when there is one, and the system's error number when the system said no (so that a screen
// can tell a full disk from a vanished file without reading the text).
class Failure {
public:
    explicit Failure(QString message, QString path = {}, int systemError = 0);

    // The cause, without the path ("no such file").
    const QString& message() const { return m_message; }
    const QString& path() const { return m_path; }
    // The errno value behind the failure, or 0.
    int systemError() const { return m_systemError; }
    // The cause with its path in front when there is one ("/a/b.plist: no such file").
    QString text() const;

private:
    QString m_message;
    QString m_path;
    int m_systemError = 0;
};

// The outcome of an operation that can fail: a value (or, for Result<void>, nothing) or a
// Failure. Every operation that reads or writes files, property lists, tags, images, the
// catalogue or the network returns one, so that a caller either handles the failure or says in
// code that it ignores it (ignoreFailure).
template <typename T = void>
class [[nodiscard]] Result {
public:
    Result(T value)
        : m_value(std::move(value)) {}
    Result(Failure failure)
        : m_failure(std::move(failure)) {}

    bool ok() const { return m_value.has_value(); }
    explicit operator bool() const { return ok(); }

    const T& value() const& { return *m_value; }
    T& value() & { return *m_value; }
    // From a temporary, the value moves out by value, so that `for (x : f().value())` holds
    // the value for the whole loop instead of a reference into the gone result.
    T value() && { return std::move(*m_value); }
    const T& operator*() const& { return *m_value; }
    T operator*() && { return std::move(*m_value); }
    const T* operator->() const { return &*m_value; }
    T valueOr(T fallback) const& { return m_value ? *m_value : std::move(fallback); }
    T valueOr(T fallback) && { return m_value ? std::move(*m_value) : std::move(fallback); }

    // Only meaningful when !ok().
    const Failure& failure() const { return *m_failure; }
    // The failure's text, or an empty text on success.
    QString errorText() const { return m_failure ? m_failure->text() : QString(); }

private:
    std::optional<T> m_value;
    std::optional<Failure> m_failure;
};

template <>
class [[nodiscard]] Result<void> {
public:
    Result() = default;
    Result(Failure failure)
        : m_failure(std::move(failure)) {}

    bool ok() const { return !m_failure.has_value(); }
    explicit operator bool() const { return ok(); }

    const Failure& failure() const { return *m_failure; }
    QString errorText() const { return m_failure ? m_failure->text() : QString(); }

private:
    std::optional<Failure> m_failure;
};

using Status = Result<void>;

namespace detail {
void logIgnoredFailure(const Failure& failure, const char* why, const std::source_location& where);
}

// The one way to drop a failure on purpose: where a rule of the system says that a failure is
// silent (a deletion after a cancelled import, a missing optional file), the code says so here
// with the reason. The failure is logged at debug level in "tolvane.ignored".
template <typename T>
void ignoreFailure(const Result<T>& result, const char* why,
                   const std::source_location& where = std::source_location::current()) {
    if (!result.ok())
        detail::logIgnoredFailure(result.failure(), why, where);
}

} // namespace tolvane
