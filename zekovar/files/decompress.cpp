#include "zekovar/files/decompress.h"

#ifdef ZEKOVAR_WITH_ZLIB

#include <algorithm>
#include <limits>
#define ZLIB_CONST // the input is read only
#include <zlib.h>

namespace
{
/// As much as zlib can count at a time.
uInt pieceOf(std::size_t bytes)
{
    return static_cast<uInt>(std::min<std::size_t>(bytes, std::numeric_limits<uInt>::max()));
}

/// `written` counts what is at `out`.
int inflateAll(z_stream& stream, Bytef* out, std::size_t room, Bytef const* in, std::size_t inBytes,
               std::size_t& written)
{
    std::size_t read = 0;
    for (;;)
    {
        Bytef excess; // one byte behind a full room tells data that is cut from data that is too long
        bool const isFull = written == room;
        uInt const outPiece = isFull ? 1 : pieceOf(room - written);
        uInt const inPiece = pieceOf(inBytes - read);
        stream.next_out = isFull ? &excess : out + written;
        stream.avail_out = outPiece;
        stream.next_in = in + read;
        stream.avail_in = inPiece;
        int const result = inflate(&stream, Z_NO_FLUSH);
        read += inPiece - stream.avail_in;
        if (!isFull)
            written += outPiece - stream.avail_out;
        else if (stream.avail_out == 0)
            return Z_BUF_ERROR;
        if (result == Z_STREAM_END)
            return Z_OK;
        if (result == Z_NEED_DICT || result == Z_BUF_ERROR) // the latter because there is no more input
            return Z_DATA_ERROR;
        if (result != Z_OK)
            return result;
    }
}
}

int deCompress(void* out, std::size_t& outBytes, void const* in, std::size_t inBytes)
{
    std::size_t const room = outBytes;
    outBytes = 0;
    if ((out == nullptr && room > 0) || (in == nullptr && inBytes > 0))
        return Z_STREAM_ERROR;
    z_stream stream{};
    int result = inflateInit(&stream);
    if (result != Z_OK)
        return result;
    result = inflateAll(stream, static_cast<Bytef*>(out), room, static_cast<Bytef const*>(in), inBytes, outBytes);
    inflateEnd(&stream);
    return result;
}

#else

#include "zekovar/diagnostics/system_monitor.h"

#include <syslog.h>

int deCompress(void*, std::size_t& outBytes, void const*, std::size_t)
{
    constexpr int NOT_AVAILABLE = -6; // Z_VERSION_ERROR
    ZK::Detail::logToSystemMonitor(LOG_ERR, "CANNOT UNPACK DATA: LIBRARY BUILT WITHOUT ZLIB");
    outBytes = 0;
    return NOT_AVAILABLE;
}

#endif
