#pragma once

#include "zekovar/foundation/string.h"

#include <cstdarg>

/// Lines of the system log with a monitor's name in front, and the names of severities.
///
/// A monitor is a name with a slot and a port. A line is the monitor's prompt, which takes 13 characters, a text of the
/// caller's, and the message:
///
///     SIP-TR:2   # [call 7] INVITE sent
///
/// Severities are the priorities of `syslog`, 0 to 7, and are handed to it as they are: facility, identity and mask
/// stay the affair of the program, which calls `openlog`. All functions are safe from every thread; what returns text
/// sets `out`, which may be one of the other arguments, and returns it.
namespace RTD
{
/// The monitor has no slot, or no port: it is the base monitor of its id.
inline constexpr unsigned NO_SLOT = 254;
inline constexpr unsigned NO_PORT = 65534;

/// All slots or ports of a name, for `BUILD_LOG_MATCH_PREFIX` only.
inline constexpr unsigned ANY_SLOT = 253;
inline constexpr unsigned ANY_PORT = 65533;

/// "SIP-TR:2/14" with the separators ":" and "/". Without a slot it is the bare name, whatever the port.
String& BUILD_MONITOR_NAME(String& out, String const& name, unsigned slot, unsigned port, String const& slotSeparator,
                           String const& portSeparator);

/// The name with slot and port in a column of ten characters, cut or padded on the right, and " # ".
String& BUILD_LOG_PROMPT(String& out, String const& name, unsigned slot, unsigned port);
String& BUILD_LOG_PROMPT(String& out, String const& name);

/// The prompt with `extra` behind it. A prompt that was built before may be given as `name` and comes out unchanged.
/// `severity` has no effect on the text.
String& BUILD_LOG_PREFIX(String& out, String const& name, unsigned slot, unsigned port, int severity,
                         String const& extra);
String& BUILD_LOG_PREFIX(String& out, String const& name, int severity, String const& extra);

/// What the lines of a monitor begin with, for a reader of the log: the prompt; of the name alone if slot or port is
/// missing; "name:", which fits all of them, if one is `ANY_SLOT` or `ANY_PORT`.
String& BUILD_LOG_MATCH_PREFIX(String& out, String const& name, unsigned slot, unsigned port);
String& BUILD_LOG_MATCH_PREFIX(String& out, String const& name);

/// "SIP-TR_2_14": a name for a file or a filter.
String& BUILD_LOG_FILTER_NAME(String& out, String const& name, unsigned slot, unsigned port);

/// Writes a `printf` text to the log, behind `prompt`, which goes through `BUILD_LOG_PREFIX`, and `extra`.
///
/// Each line of the text becomes one of the log with the whole prefix; a line feed, a carriage return and the pair of
/// both, in either order, end a line. One that is longer than 900 characters with its prefix is cut there, marked with
/// "<CONTINUED>" and continued in the next. A text that is empty or can't be formatted gives no line, a null `format`
/// one that tells the mistake. A zero byte ends the text. If memory is out the first 2047 characters are written.
///
/// Blocks as `syslog` does, and is a cancellation point as that is; `errno` stays as it was. A text of up to
/// 2047 characters is formatted on the stack. Lines of one text may interleave with those of another thread.
void VSYSLOG_PREFIX(String const& prompt, int severity, String const& extra, char const* format, std::va_list arguments)
    __attribute__((format(printf, 4, 0)));

/// "emerg", "alert", "crit", "err", "warn", "notice", "info" or "debug"; empty for another value, never null.
char const* GET_SYSLOG_SEVERITY(int severity);

/// "EMR", "ALR", "CRT", "ERR", "WRN", and in lower case "not", "inf", "dbg"; else as above.
char const* GET_SYSLOG_SEVERITY_SHORT(int severity);

/// "emergency", "alert", "critical", "error", "warning", "notice", "info" or "debug"; else as above.
char const* GET_SYSLOG_SEVERITY_LONG(int severity);

/// The severity of a name as `GET_SYSLOG_SEVERITY` gives it, in that case; -1 for any other text, so also for the short
/// and the long names.
int GET_SYSLOG_SEVERITY(String const& name);
}
