// The identifiers of this folder's interfaces and classes, in one table.

#include "zekovar/jobs/executor.h"
#include "zekovar/jobs/future.h"
#include "zekovar/jobs/job.h"
#include "zekovar/jobs/unknown.h"

namespace
{
using Record = ZK::UUIDData;

// Never written: identifiers don't count themselves in static records.
constinit Record s_weakIdentity = {
    0x343571a4,        0xe155, 0x4840, {0xae, 0x9c, 0xe4, 0x42, 0xc9, 0xc5, 0xb5, 0xdc}, Record::STATIC_RECORD,
    "CID_WeakIdentity"};
constinit Record s_unknown = {
    0x1e7be6bc, 0x6ebb, 0x4e16, {0x8c, 0xc1, 0xc1, 0x07, 0x05, 0x5e, 0x1f, 0x94}, Record::STATIC_RECORD, "IID_Unknown"};
constinit Record s_executor = {
    0xf17cf1e4, 0x3267, 0x4d4c, {0xab, 0x1e, 0x04, 0x7d, 0x22, 0x22, 0x72, 0xec}, Record::STATIC_RECORD, "IExecutor"};
constinit Record s_future = {
    0x8362e461, 0xd0ba, 0x4281, {0xbb, 0x7f, 0xac, 0x6f, 0x9c, 0x7d, 0xa3, 0x50}, Record::STATIC_RECORD, "IFuture"};
constinit Record s_futureResult = {
    0x36726ee9,     0x5732, 0x49b6, {0xa0, 0x5c, 0xdf, 0xff, 0x0a, 0x7b, 0xc2, 0xa2}, Record::STATIC_RECORD,
    "IFutureResult"};
constinit Record s_futureStream = {
    0x88adbcc1,     0x3901, 0x4df3, {0x95, 0x4e, 0x13, 0x5c, 0x04, 0x5e, 0x01, 0xb4}, Record::STATIC_RECORD,
    "IFutureStream"};
constinit Record s_job = {
    0xcba60ca5, 0x2ef8, 0x42b7, {0xaf, 0xcb, 0xe4, 0x82, 0xda, 0x8b, 0xd2, 0x4a}, Record::STATIC_RECORD, "IJob"};

/// Made at first use and never destroyed: objects may be asked for interfaces while the process exits.
template <Record& RECORD>
ZK::UUID const& identifier()
{
    static ZK::UUID const& s_identifier = *new ZK::UUID(RECORD);
    return s_identifier;
}
}

ZK::UUID const& CID_WeakIdentity()
{
    return identifier<s_weakIdentity>();
}

ZK::UUID const& IID_Unknown()
{
    return identifier<s_unknown>();
}

ZK::UUID const& CID_Unknown()
{
    return identifier<s_unknown>();
}

namespace ZK
{
UUID const& IExecutor::IID()
{
    return identifier<s_executor>();
}

UUID const& IFuture::IID()
{
    return identifier<s_future>();
}

UUID const& IID_FutureResult()
{
    return identifier<s_futureResult>();
}

UUID const& IFutureStream::IID()
{
    return identifier<s_futureStream>();
}

UUID const& IJob::IID()
{
    return identifier<s_job>();
}
}
