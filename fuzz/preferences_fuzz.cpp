// Whatever a preferences file holds, its entries are those that `sscanf` finds in the lines that `std::getline` gives,
// and its checksum is that of these lines.

#include "tests/temporary_directory.h"
#include "zekovar/crypto/crc32.h"
#include "zekovar/files/preferences.h"

#include <cstdio>
#include <fstream>
#include <sstream>

namespace
{
/// Enters what the line holds and returns its first word.
std::string enterLine(std::string const& text, std::map<std::string, std::string>& entries)
{
    std::string key(text.size() + 1, '\0');
    std::string value(text.size() + 1, '\0');
    if (std::sscanf(text.c_str(), "%s%s", key.data(), value.data()) == 2)
        entries.emplace(key.c_str(), value.c_str());
    return key.c_str();
}
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size)
{
    static TemporaryDirectory const s_directory;
    String const path = s_directory / "preferences";
    String const companion = s_directory / "preferences.crc32";
    std::remove(path.c_str()); // a file that is cut and written again may wait for the disk
    std::remove(companion.c_str());
    std::string const file(reinterpret_cast<char const*>(data), size);
    std::ofstream(path.c_str(), std::ios::binary) << file;
    Preferences preferences(path);

    Crc32 crc;
    std::map<std::string, std::string> entries;
    std::string last;
    std::istringstream stream(file);
    for (std::string text; std::getline(stream, text);)
    {
        crc.addBuff(text.c_str(), static_cast<unsigned int>(text.size()));
        last = enterLine(text, entries);
    }
    entries.emplace(last, ""); // the key of a line without a value, unless another line has one
    String value;
    for (auto const& [key, expected] : entries)
    {
        if (preferences.read(key.c_str(), value, "").isErr() != expected.empty() || !(value == expected.c_str()))
            __builtin_trap();
    }
    unsigned int stored = 0;
    unsigned int const sum = crc.addBuff("", 0U);
    // a sum of 0 is that of a missing companion
    if ((preferences.readChecksumFromFile(companion, stored).isErr() && sum != 0) || stored != sum)
        __builtin_trap();
    return 0;
}
