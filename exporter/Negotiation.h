// What a client wants, by its request's headers (RFC 9110).
#pragma once

#include <string_view>

#include "exporter/Exposition.h"

namespace Exporter {

// The format by "Accept": OpenMetrics when the client names it and does not like text more.
Format formatFor(std::string_view accept);
// Whether "Accept-Encoding" names gzip, or everything, as welcome.
bool wantsGzip(std::string_view acceptEncoding);

}  // namespace Exporter
