#pragma once

namespace ZK::Detail
{
/// Fills `frames` with the stack of the calling thread from inside its signal handler, and sets `count`.
///
/// `context` is the handler's third argument. The first three frames are this operation, the handler that called it and
/// the return from the signal; what the signal interrupted follows. Async-signal-safe but for what `backtrace` does on
/// its first call in the process.
void captureInterrupted(void** frames, unsigned int capacity, int& count, void const* context);
}
