#ifndef API_GUARD_H
#define API_GUARD_H

#include "api/library.h"
#include "btsdk.h"

#include <new>

namespace api {

/** Runs the body of an exported function: nothing is thrown across the library's boundary. The body takes the library
 *  and returns the function's result. */
template <class Result, class Body>
Result guarded(Result onException, Body body) noexcept
{
    try {
        const std::shared_ptr<Library> library = Library::instance();
        return body(*library);
    } catch (...) {
        return onException;
    }
}

template <class Body>
unsigned int guarded(Body body) noexcept
{
    return guarded<unsigned int>(BTSDK_ER_INTERNAL, body);
}

/** As guarded(), for a function that sets a callback: taking one away from a library that does not run starts none. */
template <class Callback, class Body>
unsigned int guardedSetter(Callback callback, Body body) noexcept
{
    if (!callback && !Library::isRunning())
        return BTSDK_OK;
    return guarded([&](Library &library) -> unsigned int { return body(library) ? BTSDK_OK : BTSDK_ER_CALLBACK; });
}

/** Whether a text was given: neither null nor empty. */
inline bool isGiven(const char *text)
{
    return text && *text != '\0';
}

} // namespace api

#endif
