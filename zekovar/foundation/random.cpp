#include "zekovar/foundation/random.h"

#include <fcntl.h>

ZKRandom::ZKRandom(bool blocking) : ZKFile(blocking ? DEV_RANDOM : U_DEV_RANDOM, true, false), m_blocking(blocking)
{
    ZKFile::open(O_RDONLY, 0644, XO_NONE);
}
