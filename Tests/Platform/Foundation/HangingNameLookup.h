#pragma once

/*! A host whose name lookup never ends. Every other name is looked up as usual. */
inline constexpr char hostWhoseLookupHangs[] = "lookup-that-hangs.test";
