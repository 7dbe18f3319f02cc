#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"

#include <sys/stat.h>

template <class T>
class TString;
template <class T>
class ZKVector;

/// Handle on a path and a descriptor: regular files, fifos, pipes, sockets and devices.
///
/// Copies are cheap and share descriptor and path; the last one to go closes the descriptor and removes the file if it
/// was told so. There is no lock, and handles are counted without atomic operations: the copies of a file stay on one
/// thread or are guarded by their owner. Failures are the codes of `errno`, unless an operation says otherwise; output
/// arguments that it doesn't mention stay untouched then. A closed file has the descriptor -1, and what needs a
/// descriptor fails with the code of EBADF.
///
///     ZKFile file("/var/run/daemon.pid", true, false);
///     XCode code = file.open(O_WRONLY | O_CREAT | O_TRUNC, 0644, ZKFile::XO_CREATE_DIRS);
///     if (code) code = file.writef("%d\n", getpid());
class ZKFile
{
public:
    /// What `open` does besides opening.
    enum XOFlag : unsigned int
    {
        XO_NONE = 0,
        XO_CREATE_DIRS = 1 ///< first make the directories that the path lacks
    };

    /// A closed file without a path, neither closed nor removed by its last handle.
    ZKFile() : ZKFile(String(), false, false) {}

    /// A closed file. The last handle closes the descriptor if `autoClose`, and then removes the file if `autoRemove`.
    ZKFile(String const& path, bool autoClose, bool autoRemove);

    /// Takes `fd`, which may be -1, with the path that the kernel knows for it.
    ZKFile(int fd, bool autoClose, bool autoRemove);

    ZKFile(ZKFile const& other);

    /// Gives up this handle as `destruct` does, and shares the other's file.
    ZKFile& operator=(ZKFile const& other);

    virtual ~ZKFile();

    /// Fails with `XCODE_FAILURE` while a descriptor is open.
    virtual XCode setPath(String const& path);

    /// Makes a node of the type in `mode` (a regular file without one), then sets the permissions past the umask.
    virtual XCode create(unsigned int mode, unsigned long long device);
    virtual XCode createCharDev(int major, int minor, unsigned int mode);
    virtual XCode createBlockDev(int major, int minor, unsigned int mode);

    /// Closes an open descriptor, whose failure ends the call, and unlinks the path.
    virtual XCode remove();

    /// Renames the file, open or not; the path of all handles becomes `path`.
    virtual XCode rename(String const& path);

    /// @name Properties
    /// Of the open descriptor, or of the path while there is none. A file that can't be looked at has none of them.
    /// @{
    virtual bool exists() const;
    virtual bool isRegular() const;
    virtual bool isFifo() const;
    virtual bool isSocket() const;

    /// The device numbers are set only on true; either pointer may be null.
    virtual bool isCharDev(int* major, int* minor) const;
    virtual bool isBlockDev(int* major, int* minor) const;
    virtual bool isDirectory() const;

    /// Type and permissions, 0 on failure.
    virtual unsigned int getMode() const;

    /// Bytes, -1 on failure.
    virtual long long getSize() const;

    /// The number of the device that this file is, -1 on failure.
    virtual int getDevMajor() const;
    virtual int getDevMinor() const;
    virtual XCode getInfo(struct stat& info) const;
    /// @}

    /// Closes an open descriptor, whose failure ends the call, and opens the path with `flags` and O_CLOEXEC. `mode` is
    /// that of a new file and of the directories that `XO_CREATE_DIRS` makes. On failure the file is closed.
    virtual XCode open(int flags, unsigned int mode, XOFlag extra);

    /// Closes the descriptor. The file is closed afterwards even on failure, which leaves a line in syslog. The code of
    /// EBADFD if it was closed already.
    virtual XCode close();

    /// Takes `fd` and its path. With `closeOld` an open descriptor is closed first, and its failure ends the call;
    /// otherwise it is the caller's.
    virtual XCode setFd(int fd, bool closeOld);

    /// For what a system call returned: as `setFd` with `closeOld`, or the code of `errno` for a negative number, which
    /// leaves the file as it is.
    virtual XCode setValidFd(int fd);

    /// The status flags, as F_GETFL gives them.
    virtual XCode getFlags(int& flags) const;
    virtual XCode setFlags(int flags);
    virtual XCode setCloseOnExec(bool closeOnExec);

    /// False on a closed file too.
    virtual bool isBlocking() const;
    virtual XCode setBlocking(bool blocking);

    /// @name Reading and writing
    /// With `retryOnInterrupt` a call that a signal interrupts is made again. `size` and `count` are bytes. All block
    /// as the descriptor does, and on a non-blocking one fail with the code of EAGAIN.
    /// @{

    /// One `read`; 0 bytes at the end of the input. `count` is 0 on failure.
    virtual XCode readOnce(void* buffer, unsigned int size, unsigned int& count, bool retryOnInterrupt) const;

    /// Reads until `size` bytes are in; `XCODE_FAILURE` if the input ends first. What came by then is lost.
    virtual XCode readFixedSize(void* buffer, unsigned int size, bool retryOnInterrupt) const;

    /// Reads until the buffer is full, which leaves `eof` false, or nothing more comes. `eof` is true then, unless it
    /// is for EAGAIN. Whatever came is a success; if nothing did, the code is the failure, or that of ECONNRESET at the
    /// end of the input.
    virtual XCode readToEof(void* buffer, unsigned int size, unsigned int& count, bool& eof,
                            bool retryOnInterrupt) const;

    /// Brings the content to the medium (`fsync`).
    virtual XCode flush() const;

    /// One `write`. `count` is 0 on failure.
    virtual XCode writeOnce(void const* data, unsigned int size, unsigned int& count, bool retryOnInterrupt) const;

    /// Writes all, or fails with an unknown part written. Blocks on a non-blocking descriptor too, asking anew each
    /// millisecond.
    virtual XCode writeFixedSizeBlocking(void const* data, unsigned int size, bool retryOnInterrupt) const;

    /// Replaces `target` by what `readToEof` gives until nothing more comes.
    XCode read(String& target, bool& eof, bool retryOnInterrupt) const;

    /// As above; `T` is `char` or `unsigned char`.
    template <class T>
    XCode read(TString<T>& target, bool& eof, bool retryOnInterrupt) const;

    /// `writeFixedSizeBlocking` of the text.
    XCode write(String const& text, bool retryOnInterrupt) const;

    /// Writes formatted text. `XCODE_FAILURE` on a closed file.
    XCode writef(char const* format, ...) const __attribute__((format(printf, 2, 3)));
    /// @}

    /// Gives up this handle, which is closed and has no path from here on; only assignment gives it a file again.
    virtual void destruct();

    /// `create` of a fifo. Has SIGPIPE ignored in the whole process, so that writing without a reader fails with EPIPE.
    XCode createFifo(unsigned int mode);

    /// -1 while closed.
    int getFd() const;

    bool isOpen() const { return getFd() >= 0; }

    String const& getPath() const;

    bool isAutoClose() const;
    bool isAutoRemove() const;

    /// @name Paths
    /// @{

    /// `stat`, `fstat` and `lstat`.
    static XCode GET_INFO(String const& path, struct stat& info);
    static XCode GET_INFO(int fd, struct stat& info);
    static XCode GET_LINK_INFO(String const& path, struct stat& info);

    /// Follows links: a dangling one doesn't exist.
    static bool EXISTS(String const& path);
    static bool IS_SOFTLINK(String const& path);

    /// The path that the kernel knows for a descriptor, of at most 1023 characters; empty on failure.
    static String GET_PATH(int fd);

    /// What stands behind the last "/"; "/" for "/" itself.
    static String BASENAME(String const& path);

    /// What a symbolic link holds, at most 1023 characters. Empties `target` on failure.
    static XCode GET_SOFTLINK(String const& path, String& target);

    /// Both ends are close-on-exec and replace what the files held.
    static XCode CREATE_PIPE(ZKFile& readEnd, ZKFile& writeEnd, bool autoClose);

    /// Makes the directory and those above it that are missing, each with `mode` less the umask. A path that exists is
    /// a success, whatever it is.
    static XCode CREATE_DIR(String const& path, unsigned int mode);

    /// Removes a file, or a directory with all that is in it, up to the first failure. A path that can't be looked at
    /// counts as gone. Links are followed: those to directories are emptied, and a dangling one stays.
    static XCode REMOVE(String const& path);

    /// Whether the resolved path of the directory that `file` stands in begins with the text `directory`. Always
    /// succeeds: what can't be resolved is no.
    static XCode IS_FILE_IN_DIR(String const& file, String const& directory, bool& result);

    /// Adds the names in a directory but "." and "..", in the kernel's order; with `fullPath`, directory and "/" stand
    /// in front.
    static XCode LIST_DIRECTORY(String const& path, ZKVector<String>& entries, bool fullPath);

    /// As above, the regular files only. A directory that can't be opened is a success without entries.
    static XCode GET_FILES(String const& path, ZKVector<String>& entries, bool fullPath);

    /// As `LIST_DIRECTORY`, the directories only, "." and ".." among them.
    static XCode GET_SUBDIRECTORIES(String const& path, ZKVector<String>& entries, bool fullPath);

    /// Reads a whole file; `T` is `char` or `unsigned char`.
    template <class T>
    static XCode READ_TSTRING(String const& path, TString<T>& target, int flags, bool retryOnInterrupt);

    /// Replaces the content of a file, which is made, with its directories, if it is missing. All get the mode 0644, so
    /// that only a privileged process gets through a new directory. `flags` is added to O_WRONLY, O_CREAT and O_TRUNC.
    template <class T>
    static XCode WRITE_TSTRING(String const& path, TString<T> const& data, int flags, bool retryOnInterrupt);
    /// @}

private:
    struct Record;

    void share(ZKFile const& other);
    void giveUp();

    Record* m_record; // null once this handle is given up
};
