#pragma once

#include "HttpModule.h"

namespace avr { namespace host {

/// What an answer without the wanted data means.
HttpFault httpStatusFault(int status);

}} // namespace avr::host
