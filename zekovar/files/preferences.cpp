#include "zekovar/files/preferences.h"

#include "zekovar/crypto/crc32.h"
#include "zekovar/diagnostics/system_monitor.h"
#include "zekovar/files/file.h"
#include "zekovar/foundation/everlasting.h"
#include "zekovar/foundation/text.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/mutex_private.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <syslog.h>

namespace
{
constexpr unsigned int BLOCK_SIZE = 4096;
constexpr std::size_t ENTRY_OVERHEAD = 128; // two strings, the node and what the allocator adds, roughly

// guards the pointer of PREFERENCES for as long as it takes to copy or exchange it
constinit ZK::Detail::Everlasting<ZKMutexPrivate> s_preferencesMutex(false);

/// The white space of the C locale.
bool isBlank(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

/// Takes a text in pieces and keeps no more of a line than its first two words.
class EntryReader
{
public:
    void add(char const* text, std::size_t size)
    {
        char const* const end = text + size;
        while (text != end)
        {
            auto const* const newline = static_cast<char const*>(std::memchr(text, '\n', end - text));
            char const* const rest = newline != nullptr ? newline : end;
            m_crc.addBuff(text, static_cast<unsigned int>(rest - text));
            addWords(text, rest);
            text = rest;
            if (newline == nullptr)
                return;
            endLine();
            ++text;
        }
    }

    void endLine()
    {
        if (m_isTooLarge)
            noteLine();
        else if (!m_words[1].isEmpty())
            takeEntry();
        ++m_line;
        for (String& word : m_words)
            word = "";
        m_word = 0;
        m_isTooLarge = false;
    }

    /// Of all lines so far, without their newlines.
    unsigned int checksum() { return m_crc.addBuff("", 0U); }

    std::map<String, String>& entries() { return m_entries; }

    /// The number of the first line that was too large, or 0.
    unsigned int skippedLine() const { return m_skippedLine; }

private:
    static constexpr int WORDS = 2;

    void addWords(char const* text, char const* end)
    {
        while (text != end && m_word < WORDS)
        {
            char const* const start = text;
            while (text != end && *text != '\0' && !isBlank(*text))
                ++text;
            addToWord(start, static_cast<std::size_t>(text - start));
            if (text == end || m_word == WORDS)
                return;
            if (*text == '\0')
                m_word = WORDS;
            else if (!m_words[m_word].isEmpty())
                ++m_word;
            ++text;
        }
    }

    void addToWord(char const* text, std::size_t size)
    {
        String& word = m_words[m_word];
        m_isTooLarge = size > static_cast<std::size_t>(Preferences::MAX_WORD_LENGTH - word.length());
        if (m_isTooLarge)
            m_word = WORDS;
        else
            word.concat(text, static_cast<int>(size));
    }

    void takeEntry()
    {
        std::size_t const size = ENTRY_OVERHEAD + static_cast<std::size_t>(m_words[0].length()) +
                                 static_cast<std::size_t>(m_words[1].length());
        if (m_entries.find(m_words[0]) != m_entries.end())
            return;
        if (size > Preferences::MAX_TABLE_SIZE - m_tableSize)
            return noteLine();
        m_tableSize += size;
        m_entries.emplace(m_words[0], m_words[1]);
    }

    void noteLine()
    {
        if (m_skippedLine == 0)
            m_skippedLine = m_line;
    }

    Crc32 m_crc;
    std::map<String, String> m_entries;
    std::size_t m_tableSize = 0;
    unsigned int m_line = 1;
    unsigned int m_skippedLine = 0;
    String m_words[WORDS];
    int m_word = 0; // the word that grows; WORDS when the rest of the line doesn't matter
    bool m_isTooLarge = false;
};

XCode readEntries(String const& path, EntryReader& reader)
{
    ZKFile file(path, true, false);
    // a fifo must not make this wait for a writer
    if (file.open(O_RDONLY | O_NONBLOCK, 0, ZKFile::XO_NONE).isErr() || !file.isRegular())
        return XCODE_FAILURE;
    char block[BLOCK_SIZE];
    unsigned int count = 0;
    do
    {
        if (file.readOnce(block, sizeof block, count, true).isErr())
            return XCODE_FAILURE;
        reader.add(block, count);
    } while (count > 0);
    reader.endLine(); // the last one needs no newline
    return XCODE_SUCCESS;
}
}

Preferences::Preferences() : Preferences(String())
{
}

Preferences::Preferences(String const& path)
{
    createPrefsFromFile(path);
}

XCode Preferences::read(String const& key, String& value, String const& defaultValue)
{
    logChanges();
    auto const position = m_table.find(key);
    bool const isThere = position != m_table.end();
    value = isThere ? position->second : defaultValue;
    return testExpression(isThere);
}

XCode Preferences::createPrefsFromFile(String const& path)
{
    String source = path.isEmpty() ? String(PREFFILEPATH) : path;
    EntryReader reader;
    if (readEntries(source, reader).isErr())
    {
        ZK::Detail::logToMonitor(MON_EVENT, LOG_WARNING, "Preference File not available.");
        return XCODE_FAILURE;
    }
    if (reader.skippedLine() != 0)
        ZK::Detail::logToMonitor(MON_EVENT, LOG_WARNING, "PREFERENCES TOO LARGE, LINE %u LEFT OUT",
                                 reader.skippedLine());
    m_table.merge(reader.entries()); // what is there stays

    String const& companion = source += ".crc32";
    unsigned int stored = 0;
    readChecksumFromFile(companion, stored);
    if (stored != reader.checksum())
    {
        writeChecksumToFile(companion, reader.checksum()); // on a read-only medium the note comes at each start
        m_isChanged.store(true, std::memory_order_relaxed);
    }
    return XCODE_SUCCESS;
}

void Preferences::logChanges()
{
    // a load first, because each read comes through here
    if (m_isChanged.load(std::memory_order_relaxed) && m_isChanged.exchange(false, std::memory_order_relaxed))
        ZK::Detail::logToMonitor(MON_EVENT, LOG_INFO, "Preferences file changed.");
}

XCode Preferences::readChecksumFromFile(String const& path, unsigned int& checksum) const
{
    unsigned char bytes[4];
    ZKFile file(path, true, false);
    if (file.open(O_RDONLY | O_NONBLOCK, 0, ZKFile::XO_NONE).isErr() ||
        file.readFixedSize(bytes, sizeof bytes, true).isErr())
        return XCODE_FAILURE;
    checksum = static_cast<unsigned int>(bytes[0]) << 24 | static_cast<unsigned int>(bytes[1]) << 16 |
               static_cast<unsigned int>(bytes[2]) << 8 | bytes[3];
    return XCODE_SUCCESS;
}

XCode Preferences::writeChecksumToFile(String const& path, unsigned int checksum) const
{
    unsigned char const bytes[4] = {static_cast<unsigned char>(checksum >> 24),
                                    static_cast<unsigned char>(checksum >> 16),
                                    static_cast<unsigned char>(checksum >> 8), static_cast<unsigned char>(checksum)};
    ZKFile file(path, true, false);
    unsigned int count = 0;
    bool const isWritten = file.open(O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK, 0666, ZKFile::XO_NONE).isSuccess() &&
                           file.writeOnce(bytes, sizeof bytes, count, true).isSuccess() && count == sizeof bytes &&
                           file.close().isSuccess();
    return testExpression(isWritten);
}

XCode PREFERENCES::CREATEPREF()
{
    return INSTANCE().createPref(String());
}

XCode PREFERENCES::CREATEPREF(String const& path)
{
    return INSTANCE().createPref(path);
}

XCode PREFERENCES::DESTROY()
{
    return INSTANCE().destroy();
}

XCode PREFERENCES::READPREF(char const* key, String& value, String const& defaultValue)
{
    return INSTANCE().readPref(key, value, defaultValue);
}

String PREFERENCES::READPREF_STRING(char const* key, char const* defaultValue)
{
    return INSTANCE().readPrefString(key, defaultValue);
}

unsigned int PREFERENCES::READPREF_UNSIGNED(char const* key, unsigned int defaultValue, unsigned int minimum,
                                            unsigned int maximum)
{
    return INSTANCE().readPrefUnsigned(key, defaultValue, minimum, maximum);
}

unsigned int PREFERENCES::READPREF_UINT(char const* key, unsigned int defaultValue, unsigned int minimum,
                                        unsigned int maximum)
{
    return INSTANCE().readPrefUnsigned(key, defaultValue, minimum, maximum);
}

int PREFERENCES::READPREF_SIGNED(char const* key, int defaultValue, int minimum, int maximum)
{
    return INSTANCE().readPrefSigned(key, defaultValue, minimum, maximum);
}

bool PREFERENCES::READPREF_BOOL(char const* key, bool defaultValue)
{
    return INSTANCE().readPrefBool(key, defaultValue);
}

bool PREFERENCES::EXISTSPREF(char const* key)
{
    return INSTANCE().existsPref(key);
}

XCode PREFERENCES::createPref(String const& path)
{
    exchange(std::make_shared<Preferences>(path));
    return XCODE_SUCCESS;
}

XCode PREFERENCES::destroy()
{
    exchange(nullptr);
    return XCODE_SUCCESS;
}

XCode PREFERENCES::readPref(char const* key, String& value, String const& defaultValue)
{
    std::shared_ptr<Preferences> const preferences = current();
    return preferences ? preferences->read(key, value, defaultValue) : XCODE_FAILURE;
}

String PREFERENCES::readPrefString(char const* key, char const* defaultValue)
{
    String value(defaultValue);
    readPref(key, value, defaultValue);
    return value;
}

unsigned int PREFERENCES::readPrefUnsigned(char const* key, unsigned int defaultValue, unsigned int minimum,
                                           unsigned int maximum)
{
    String text;
    if (readPref(key, text, String()).isErr())
        return defaultValue;
    unsigned int code = 0;
    unsigned int const value = u_validRangeValueOf32(&code, text.c_str(), minimum, maximum);
    return code == 0 ? value : defaultValue;
}

int PREFERENCES::readPrefSigned(char const* key, int defaultValue, int minimum, int maximum)
{
    String text;
    if (readPref(key, text, String()).isErr())
        return defaultValue;
    unsigned int code = 0;
    int const value = validRangeValueOf32(&code, text.c_str(), minimum, maximum);
    return code == 0 ? value : defaultValue;
}

bool PREFERENCES::readPrefBool(char const* key, bool defaultValue)
{
    static constexpr char const* TRUE_WORDS[] = {"true", "enabled", "on", "1"};
    static constexpr char const* FALSE_WORDS[] = {"false", "disabled", "off", "0"};
    String text;
    if (readPref(key, text, String()).isErr())
        return defaultValue;
    auto const isText = [&text](char const* word) { return text.equalsIgnoreCase(word); };
    if (std::any_of(std::begin(TRUE_WORDS), std::end(TRUE_WORDS), isText))
        return true;
    return defaultValue && std::none_of(std::begin(FALSE_WORDS), std::end(FALSE_WORDS), isText);
}

bool PREFERENCES::existsPref(char const* key)
{
    String value;
    return readPref(key, value, String()).isSuccess();
}

/// Returns what was there before, so that it goes outside the lock.
std::shared_ptr<Preferences> PREFERENCES::exchange(std::shared_ptr<Preferences> preferences)
{
    ZKAutoLock<ZKMutexPrivate> guard(s_preferencesMutex.object);
    m_spPreferences.swap(preferences);
    return preferences;
}

std::shared_ptr<Preferences> PREFERENCES::current() const
{
    ZKAutoLock<ZKMutexPrivate> guard(s_preferencesMutex.object);
    return m_spPreferences;
}
