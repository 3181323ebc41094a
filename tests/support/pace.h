// How many of their cases the longest tests take.
#pragma once

// Steps through the cases: one by one in the native optimised build, and this many at once
// elsewhere, where the same sources run under sanitizers, as 32-bit code, on another system
// or in an emulator: faults of those show without all of the values. A step that has no
// divisor in common with the cycles of a test comes to all of their places.
template<class Number>
constexpr Number stepOfCases([[maybe_unused]] Number atSlowPace)
{
#if defined(QUIB_SLOW_PACE)
    return atSlowPace;
#else
    return 1;
#endif
}
