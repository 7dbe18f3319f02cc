#include "zekovar/events/function_context.h"

namespace ZK
{
FunctionContext const& directCall()
{
    static FunctionContext const s_context;
    return s_context;
}
}
