#pragma once

#include "zekovar/foundation/singleton.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"

#include <atomic>
#include <map>
#include <memory>

/// A small table of keys and values, read from one text file: switches that aren't worth a configuration entry.
///
/// A line holds a key and a value with white space between them; the rest of the line is ignored, and so is a line
/// without two words, which serves as a comment or to part sections. The first value of a key counts. A companion file
/// beside it holds the checksum of the file as it was last loaded, by which a change made by hand gets a note in the
/// log. Nothing else is ever written.
///
/// Loading belongs to one thread; from then on any number may read.
///
///     Preferences preferences("/etc/gateway/preferences");
///     String colour;
///     preferences.read("prompt-colour", colour, "none");
class Preferences
{
public:
    /// The file that is loaded when no other is named.
    static constexpr char const* PREFFILEPATH = "/flash/preferences/preferences";

    /// A longer key or value isn't taken.
    static constexpr int MAX_WORD_LENGTH = 0x10000;

    /// Bytes that the table may take, each entry counted as its two words and 128. What doesn't fit isn't taken.
    static constexpr std::size_t MAX_TABLE_SIZE = 0x1000000;

    /// Loads `PREFFILEPATH`. Without such a file the table is empty.
    Preferences();

    /// As `createPrefsFromFile`, whose result is dropped: on failure the table is empty.
    explicit Preferences(String const& path);

    virtual ~Preferences() = default;

    /// Sets `value` to that of `key` and succeeds, or to `defaultValue` and fails with `XCODE_FAILURE`. The first call
    /// after a changed file was loaded leaves the note of `logChanges`.
    virtual XCode read(String const& key, String& value, String const& defaultValue);

    /// Adds the entries of a file, `PREFFILEPATH` for an empty path, to those that are there already, and brings the
    /// companion up to date if it can be written.
    ///
    /// Blocks for the time of reading the file, whose size doesn't matter for the memory taken: see the limits above,
    /// which leave a line in the log. `XCODE_FAILURE` with a line in the log, and a table that stays as it was, if the
    /// path can't be opened or read or isn't a regular file.
    XCode createPrefsFromFile(String const& path);

    /// Notes in the log, once for each load, that the file has changed since the one before. Any thread.
    void logChanges();

    /// Reads a checksum, four bytes with the most significant first. `XCODE_FAILURE` with `checksum` as it was if there
    /// aren't as many.
    XCode readChecksumFromFile(String const& path, unsigned int& checksum) const;

    /// Replaces the content of the file, which is made if it is missing, by four bytes. `XCODE_FAILURE` if that fails,
    /// which may leave an empty file.
    XCode writeChecksumToFile(String const& path, unsigned int checksum) const;

private:
    std::atomic<bool> m_isChanged{false};
    std::map<String, String> m_table;
};

/// The preferences of the process.
///
///     PREFERENCES::CREATEPREF();
///     unsigned int const limit = PREFERENCES::READPREF_UNSIGNED("max-calls", 30, 1, 500);
///
/// All operations are safe from every thread. A changed file takes effect with the next `CREATEPREF`, usually at the
/// next start of the process.
class PREFERENCES : private ZKSingleton<PREFERENCES>
{
    friend class ZKSingleton<PREFERENCES>;

public:
    using ZKSingleton<PREFERENCES>::INSTANCE;

    /// Loads `Preferences::PREFFILEPATH`, also anew, and blocks for that time. Always succeeds: without the file each
    /// read gives its default.
    static XCode CREATEPREF();

    /// As above, from another file.
    static XCode CREATEPREF(String const& path);

    /// Drops what was loaded. Always succeeds.
    static XCode DESTROY();

    /// As `Preferences::read`. Before `CREATEPREF` it fails with `XCODE_FAILURE` and leaves `value` alone.
    static XCode READPREF(char const* key, String& value, String const& defaultValue);

    /// @name Values by type
    /// The default stands for a missing key, and for a value that isn't of the type.
    /// @{
    static String READPREF_STRING(char const* key, char const* defaultValue);

    /// Decimal digits without a sign, blank or leading zero, `minimum` to `maximum`. The default isn't checked.
    static unsigned int READPREF_UNSIGNED(char const* key, unsigned int defaultValue, unsigned int minimum,
                                          unsigned int maximum);
    static unsigned int READPREF_UINT(char const* key, unsigned int defaultValue, unsigned int minimum,
                                      unsigned int maximum);

    /// As above, with a "-" if it is negative.
    static int READPREF_SIGNED(char const* key, int defaultValue, int minimum, int maximum);

    /// "true", "enabled", "on", "1" or "false", "disabled", "off", "0", in either case.
    static bool READPREF_BOOL(char const* key, bool defaultValue);
    /// @}

    static bool EXISTSPREF(char const* key);

private:
    PREFERENCES() = default;

    XCode createPref(String const& path);
    XCode destroy();
    XCode readPref(char const* key, String& value, String const& defaultValue);
    String readPrefString(char const* key, char const* defaultValue);
    unsigned int readPrefUnsigned(char const* key, unsigned int defaultValue, unsigned int minimum,
                                  unsigned int maximum);
    int readPrefSigned(char const* key, int defaultValue, int minimum, int maximum);
    bool readPrefBool(char const* key, bool defaultValue);
    bool existsPref(char const* key);

    std::shared_ptr<Preferences> exchange(std::shared_ptr<Preferences> preferences);
    std::shared_ptr<Preferences> current() const;

    std::shared_ptr<Preferences> m_spPreferences; // null until CREATEPREF; what is being read stays until it was
};
