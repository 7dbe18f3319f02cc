#include "zekovar/jobs/future_result.h"

namespace ZK
{
template class CFutureResult<String>;
}
