// The objects that are built when the library is loaded. Those of one file are built from top to bottom and destroyed
// from bottom to top, so this is the only file that defines such objects: a new one goes where what it uses exists.

#include "zekovar/diagnostics/qep.h"
#include "zekovar/events/event_loop.h"
#include "zekovar/events/synchronized.h"
#include "zekovar/files/actions.h"
#include "zekovar/foundation/everlasting.h"
#include "zekovar/foundation/static_factory.h"
#include "zekovar/foundation/string.h"
#include "zekovar/net/telnet_client.h"
#include "zekovar/net/wget.h"
#include "zekovar/property/template_auto.h"
#include "zekovar/property/template_tags.h"
#include "zekovar/property/value.h"
#include "zekovar/threads/backtrace.h"
#include "zekovar/threads/lock.h"
#include "zekovar/threads/sem_fifo.h"
#include "zekovar/threads/thread.h"

namespace
{
constinit ZK::Detail::Everlasting<Actions> s_actions;
constinit ZK::Detail::Everlasting<ZKMutexPrivate> s_globalMutex(false);
}

constinit Actions& Actions::s_instance = ::s_actions.object;
constinit std::atomic<IActions*> Actions::s_pActions{&::s_actions.object};

String const String::s_empty;

ZKBacktrace::Info ZKBacktrace::Info::s_instance;

constinit ZKMutexPrivate& ZKLock::s_globalMutex = ::s_globalMutex.object;

ZKMutex ZKSemFifo::s_mutex(true);
ZKIntHashTable<int> ZKSemFifo::s_semIdList(16);

ZKThreadAttributeType ZKThread::s_selfAttribute(ZKThreadAttributeType::KEEP_ATTRIBUTE);
ZKThreadAttributeType ZKThreadAttributeType::s_none(ZKThreadAttributeType::KEEP_ATTRIBUTE);

constinit std::atomic<uint32_t> ZKEventLoop::s_nextUniqueId{0xABAD1DEA};
ZKThreadAttributeType ZKThreadAttributeSynchronized::s_attributeType(ZKThreadAttributeType::DELETE_ATTRIBUTE);

String WgetUtil::s_userAgent;

namespace
{
using namespace ZK::Property::Template;

ZKStaticFactory<Node, SimpleBold> const s_simpleBold("bold");
ZKStaticFactory<Node, SimpleAuto> const s_simpleAuto("auto");
ZKStaticFactory<Block, BlockBold> const s_blockBold("bold");
ZKStaticFactory<Block, BlockIf> const s_blockIf("if");
ZKStaticFactory<Block, BlockEach> const s_blockEach("each");
}

TString<char> const ZK::Property::emptyBlob;

String const ZK::TelnetClient::DEFAULT_USER_PROMPT("login: $");
String const ZK::TelnetClient::DEFAULT_PASSWORD_PROMPT("[pP]assword: $");
String const ZK::TelnetClient::DEFAULT_PROMPT("^>[\r]?$");

// constant data: nothing has to run at load time, nor at exit while threads still run machines
constexpr QEvent QEP_reservedEvt_[4] = {QEvent(Q_EMPTY_SIG), QEvent(Q_ENTRY_SIG), QEvent(Q_EXIT_SIG),
                                        QEvent(Q_INIT_SIG)};
