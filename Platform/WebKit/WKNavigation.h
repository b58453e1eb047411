#pragma once

namespace Marblewick {

/*! One visit of a page, from its start to its end: a token, to be told from others by its identity. */
class WKNavigation
{ };

} // namespace Marblewick
