#pragma once

#include <string>
#include <string_view>

namespace avr { namespace host {

/// A title in UTF-8. Who wrote it did not say in what: what is no UTF-8 is taken for Latin-1.
std::string titleText(std::string_view written);

}} // namespace avr::host
