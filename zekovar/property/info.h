#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/property/value.h"

/// One line of a report.
struct InfoLine
{
    unsigned int level = 0;  ///< of nesting; a line belongs to the one above it of the next lower level
    unsigned int detail = 0; ///< how much one has to want to know to see it; for those who add lines
    String key;
    String value;
};

/// A report: the lines that objects add about themselves by their `getInfo`, in that order, and the layouts in which it
/// is shown.
///
/// Whoever adds lines leaves out those beyond the reader's greatest level and detail; the container takes them all. It
/// belongs to one thread at a time. The layouts replace their target. They indent and pad by at most 250 blanks and
/// underline by at most 252 characters, whatever the levels and widths.
///
///     InfoContainer report;
///     RTD::REPOSITORY::_INSTANCE()->getInfo(report, 3, 0, 5, 0, "");
///     String text;
///     report.getString_TreeFormat(text, 40, 1, 1);
class InfoContainer : public ZKVector<InfoLine>
{
public:
    void add(unsigned int level, unsigned int detail, String const& key, String const& value);

    /// Each line indented by its level: the key, ":", and the value from column `valueColumn` on. A line with deeper
    /// lines below it is a heading and underlined if its level is below `headingLevels`. Blank lines part what lies
    /// below a level that is below `spacingLevels`.
    ///
    ///     System
    ///     ======
    ///
    ///       Uptime: 12
    void getString_TreeFormat(String& out, unsigned int valueColumn, unsigned int spacingLevels,
                              unsigned int headingLevels) const;

    /// A table. Level 0 makes titles. A line of level 1 opens a record, and those below it of level 2 are the record's
    /// fields; deeper ones aren't shown. The first record names the columns, at most 32: a value is cut to the width of
    /// its column's name. Records with another key than the first, and fields without a column, are left out.
    ///
    ///     Name  Size
    ///     ----------
    ///     a.tx  12
    void getString_ListFormat(String& out) const;

    /// A table with as much room as the values need. Level 0 makes titles; each key of level 1 to `maxLevel` has a
    /// column, at most 32: the first line that would need one more ends the report. A line ends a row if its level is
    /// below that of the line before it. With `wrapHeaders` names wider than their values are broken between words.
    void getString_FolderFormat(String& out, unsigned int maxLevel, bool wrapHeaders) const;

    /// An "Object" of the lines: one with deeper lines below it becomes an "Object" named "key: value", or "key"
    /// without a value, another one a "String", or "Null" without a value. The last of several with one name counts.
    /// A line belongs to the latest object of the level above its own and is left out if there is none, as it is from
    /// level 64 on.
    ///
    /// Writes "*** Add header: %d: %s\n" to standard output for each inner object.
    ZK::Property::Value toPropertyValue() const;
};

/// Adds a value to a report: each element and member as a line with its index or key, one level below its container.
/// Lines beyond `maxLevel` or `maxDetail`, and what is nested deeper than `ZK::Property::MAX_DEPTH`, are left out.
void addInfoProperty(InfoContainer& container, unsigned int maxLevel, unsigned int level, unsigned int maxDetail,
                     unsigned int detail, String const& key, ZK::Property::Value const& value);
