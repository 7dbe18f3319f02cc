// Text of templates: parsing, rendering and freeing.

#include "zekovar/property/template.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace
{

ZK::Property::Value makeData()
{
    ZK::Property::Value data;
    data["a"] = {1, "<b>"};
    data["o"]["k"] = "v";
    data["o"]["l"] = nullptr;
    data["r"].add(data["o"]);
    data["r"][1]["o"] = data["o"];
    data["f"] = false;
    data["this"] = 1.5;
    return data;
}
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static ZK::Property::Value const VALUES = makeData();
    int const length = static_cast<int>(size);
    ZK::Property::Template::Template page;
    XCode const code = page.parse(String(reinterpret_cast<char const*>(data), length, 0, length));
    if (code.isErr() && (code.toString().isEmpty() || !page.render(VALUES).isEmpty()))
        std::abort();
    page.render(VALUES);
    return 0;
}
