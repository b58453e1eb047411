#pragma once

/*! A host whose name lookup never ends. Every other name is looked up as usual. Its lookup begins with
    a line on standard output.
*/
inline constexpr char hostWhoseLookupHangs[] = "lookup-that-hangs.test";
inline constexpr char nameLookupHangs[] = "name lookup hangs\n";
