#ifndef BENCH_PLAINPEER_H
#define BENCH_PLAINPEER_H

#include "benchsupport.h"

namespace bench {

/** What a plain TCP copy of 64 KiB blocks does, the limit that the engine is held against. */
enum class PlainMode : char {
    GetAsked = 'g',  /**< the client asks for each block */
    GetOneWay = 'G', /**< the server sends them all */
    PutAnswered = 'p',
    PutOneWay = 'P' /**< one answer at the end */
};

/** A child that serves one plain copy per connection: from source for gets, to sink for puts. */
Child::Body plainServer(const std::string &source, const std::string &sink);

/** The client's half of one plain copy; file is its sink or source. */
void plainCopy(std::uint16_t port, PlainMode mode, const std::string &file);

} // namespace bench

#endif
