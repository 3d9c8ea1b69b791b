#ifndef API_RESULTS_H
#define API_RESULTS_H

#include "btsdk.h"
#include "obex/outcome.h"
#include "settings/settingsfile.h"
#include "transport/stream.h"

namespace api {

/** The library's result for what came of a call of the engine. */
unsigned int resultOf(const obex::Outcome &outcome);

/** The library's result for a dialling that failed. */
unsigned int resultOfDial(transport::IoStatus status);

/** The library's result for a write to a settings file. */
unsigned int resultOf(settings::Outcome outcome);

/** A sentence for people; static. */
const char *resultText(unsigned int result);

/** What to do next, a sentence; static, empty for a success. */
const char *resultAdvice(unsigned int result);

} // namespace api

#endif
