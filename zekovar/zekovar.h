#pragma once

// Every public header of the library. A daemon that cares for its build time includes just those that it needs.

#include "zekovar/foundation/enum_info.h"
#include "zekovar/foundation/error.h"
#include "zekovar/foundation/hash_table.h"
#include "zekovar/foundation/list.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/string_store.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/foundation/time.h"
#include "zekovar/foundation/tstring.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/foundation/xcode.h"

#include "zekovar/events/event.h"
#include "zekovar/events/event_prio.h"
#include "zekovar/events/event_queue.h"
#include "zekovar/events/file_event.h"
#include "zekovar/events/file_observer.h"
#include "zekovar/events/file_queue.h"
#include "zekovar/events/function_context.h"
#include "zekovar/events/loopback.h"
#include "zekovar/events/reentrant_queue.h"
