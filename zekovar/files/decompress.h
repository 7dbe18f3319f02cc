#pragma once

#include <cstddef>

/// Unpacks data in the zlib format (RFC 1950) as a whole.
///
/// `outBytes` is the room at `out` and becomes the number of bytes that were written there, on failure as well. Bytes
/// behind the end of the packed data are ignored. The result is one of zlib's codes; a failure leaves what was unpacked
/// by then in `out`, which must not overlap with `in`:
///
/// |  0 | Z_OK            | all is unpacked |
/// | -2 | Z_STREAM_ERROR  | a null pointer stands for bytes |
/// | -3 | Z_DATA_ERROR    | the data is corrupt or cut, or needs a dictionary |
/// | -4 | Z_MEM_ERROR     | memory is out |
/// | -5 | Z_BUF_ERROR     | there is too little room |
/// | -6 | Z_VERSION_ERROR | the library was built without zlib; a line in the system log says so |
///
/// Safe from every thread.
int deCompress(void* out, std::size_t& outBytes, void const* in, std::size_t inBytes);
