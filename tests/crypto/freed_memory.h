#pragma once

/// What no freed array may hold; `freed_memory.cpp` looks at each of them. It reads the same as words of either byte
/// order.
inline constexpr char SECRET[] = "noonnoonnoonnoonnoonnoon";

/// Whether an array that held it was freed since the last call.
bool secretWasFreed();
