#pragma once

namespace Quorvel::Test
{

/// Whether the program was built for another kind of machine (preset arm64) and so runs in an emulator.
#ifdef QUORVEL_EMULATED
constexpr bool emulated = true;
#else
constexpr bool emulated = false;
#endif

/// What a limit of time is multiplied with.
constexpr int patience = emulated ? 20 : 1;

} // namespace Quorvel::Test
