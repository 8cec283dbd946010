#include "RegexSearch.h"

#include <map>
#include <memory>
#include <unicode/uregex.h>

namespace tolvane {

namespace {

struct RegexCloser {
    void operator()(URegularExpression* regex) const { uregex_close(regex); }
};
using Regex = std::unique_ptr<URegularExpression, RegexCloser>;

// Compiled patterns, kept per thread: a page is scanned piece by piece with the same two
// patterns, and compiling them for every piece would cost more than the matching.
URegularExpression* compiled(QStringView pattern, bool lineSeparators) {
    thread_local std::map<QString, Regex> cache[2];
    std::map<QString, Regex>& patterns = cache[lineSeparators ? 1 : 0];
    if (const auto found = patterns.find(pattern.toString()); found != patterns.end())
        return found->second.get();
    uint32_t flags = UREGEX_CASE_INSENSITIVE;
    if (lineSeparators)
        flags |= UREGEX_DOTALL;
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError{};
    Regex regex(uregex_open(reinterpret_cast<const UChar*>(pattern.utf16()),
                            int32_t(pattern.size()), flags, &parseError, &status));
    if (U_FAILURE(status))
        return nullptr;
    // A handful of fixed patterns in practice; a caller with many keeps the memory bounded.
    if (patterns.size() >= 64)
        patterns.clear();
    return patterns.emplace(pattern.toString(), std::move(regex)).first->second.get();
}

} // namespace

std::optional<QString> searchRegexInString(QStringView text, QStringView pattern, unsigned range,
                                           bool lineSeparators) {
    if (text.isEmpty() || pattern.isEmpty() || text.size() > INT32_MAX)
        return std::nullopt;
    URegularExpression* regex = compiled(pattern, lineSeparators);
    if (!regex)
        return std::nullopt;

    UErrorCode status = U_ZERO_ERROR;
    uregex_setText(regex, reinterpret_cast<const UChar*>(text.utf16()), int32_t(text.size()),
                   &status);
    const bool found = U_SUCCESS(status) && uregex_findNext(regex, &status);
    std::optional<QString> result;
    if (found && U_SUCCESS(status) && range <= unsigned(uregex_groupCount(regex, &status))) {
        const int32_t start = uregex_start(regex, int32_t(range), &status);
        const int32_t end = uregex_end(regex, int32_t(range), &status);
        // A group that took no part in the match has no range.
        if (U_SUCCESS(status) && start >= 0 && end >= start)
            result = text.mid(start, end - start).toString();
    }
    // The matcher keeps no pointer into the text once it is done with it.
    UErrorCode reset = U_ZERO_ERROR;
    uregex_setText(regex, u"", 0, &reset);
    return result;
}

} // namespace tolvane
