// Whatever a preferences file holds, it has the entries that `sscanf` finds in the lines that `std::getline` gives,
// and its checksum is that of these lines.

#include "tests/temporary_directory.h"
#include "zekovar/crypto/crc32.h"
#include "zekovar/files/preferences.h"

#include <cstdio>
#include <fstream>
#include <sstream>

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
    std::istringstream stream(file);
    for (std::string line; std::getline(stream, line);)
    {
        crc.addBuff(line.c_str(), static_cast<unsigned int>(line.size()));
        std::string key(line.size() + 1, '\0');
        std::string value(line.size() + 1, '\0');
        if (std::sscanf(line.c_str(), "%s%s", key.data(), value.data()) == 2)
            entries.emplace(key.c_str(), value.c_str());
    }
    String value;
    for (auto const& [key, expected] : entries)
    {
        if (preferences.read(key.c_str(), value, "").isErr() || !(value == expected.c_str()))
            __builtin_trap();
    }
    unsigned int sum = 0; // as it is when there is no companion
    preferences.readChecksumFromFile(companion, sum);
    if (sum != crc.addBuff("", 0U))
        __builtin_trap();
    return 0;
}
