// Utility functions of the bus: files, time, the locale, the identity of this user and this
// process, and parsers of small texts. Errors are results; any thread may call.
#pragma once

#include "messaging/SoString.h"
#include "messaging/SoVector.h"
#include "messaging/TevoroTalk.h"

#include <cstdint>

namespace ScObjects {

class InterAppStream;

namespace TevoroTalkUtils {

// Do nothing; hooks for a platform that needs set-up and tear-down.
TEVOROTALK_API void init();
TEVOROTALK_API void exit();

// In lower case, like "de_at"; "en_us" if there is none, or if it is longer than 15 bytes.
TEVOROTALK_API SoString getCurrentLocale();

// True for folders, too.
TEVOROTALK_API bool fileExists(const SoString& path);
// False if there is nothing to delete.
TEVOROTALK_API bool deleteFile(const SoString& path);
// Also true if the path exists already, even as a file. Mode 0771.
TEVOROTALK_API bool mkdir(const SoString& path);
TEVOROTALK_API bool rmdir(const SoString& path);
TEVOROTALK_API const char* getFolderSeparator();

TEVOROTALK_API void sleep(unsigned int milliseconds);
// Wall clock, in whole milliseconds since 1970.
TEVOROTALK_API double getUTCTimeMilliSeconds();
// Wall clock, in seconds since 1970.
TEVOROTALK_API std::int64_t getTimeSeconds();
// Local time as "%H:%M:%S" for `time` in seconds since 1970; null means now.
TEVOROTALK_API SoString getTimeString(const std::int64_t* time);

// Measures elapsed milliseconds. Reading does not stop it.
class TEVOROTALK_API Timer : public SoHeap {
public:
    void start();
    double now() const;
    double stop() const;

private:
    double m_start = 0;
};

// A recursive walk through a folder, with at most 256 entries per folder. A callback that returns
// false ends it.
class TEVOROTALK_API FileFilter {
public:
    virtual ~FileFilter() = default;
    virtual bool run(const SoString& folder);
    virtual bool onFile(const SoString& path);
    virtual bool onFolder(const SoString& path);
};

// Also false if the folder cannot be read or is empty.
TEVOROTALK_API bool iterateFolder(const SoString& folder, FileFilter& filter);

// This user's random identity in hexadecimal digits, the same in all processes; empty without a
// home folder. Three names for one value.
TEVOROTALK_API SoString getUserID();
TEVOROTALK_API SoString getSecurityID();
TEVOROTALK_API SoString getSignature();

// The digest that marks a text as written by this user: see getDigest in Identity.h.
TEVOROTALK_API SoString getMD5(const SoString& text);

// "localhost:mac" and the process id.
TEVOROTALK_API SoString getSenderID();

// Parses one line of the diagnostics tree: PATH;FLAG;LABEL;VALUE; and a line feed. Returns the
// start of the next line, or null if this is no such line; the outputs are then empty or
// incomplete.
TEVOROTALK_API const char* parseInfoLine(
    const char* text, SoString& path, SoString& label, SoString& value, bool& hasChildren);

// Splits a text at blanks, "=", ";", ":" and quotes of both kinds (which do not group). Appends the
// words, which the caller has to delete. Returns the length of `words`.
TEVOROTALK_API long parseOptions(const SoString& text, SoVector<SoString>& words);

// Asks one question over the process's own stream. Returns the answer, or the word that says why
// there is none. `target` may be "allRunningApps": asks all registered applications in turn, and
// returns the last answer; `answered` counts those that answered. Blocks for at most `timeout`
// seconds per target; 0 only sends.
TEVOROTALK_API SoString ping(const SoString& target,
    bool isRequest,
    const SoString& command,
    std::uint32_t serial,
    std::int32_t timeout,
    const SoString* body,
    int* answered);

// Ends every wait of this process for another application, now and from now on: for room in its
// port, for its start, for its answer. Sends try once. For an application that was told to end;
// also for the host of a plug-in that waits. Safe in a signal handler.
TEVOROTALK_API void stopWaitingForOthers();
TEVOROTALK_API bool waitsForOthers();

// Opens a stream with that name, or with one of its instances 1 to 8; the caller deletes it. Null
// if all are held, or if the name is empty. Not for applications: streams are internal.
InterAppStream* createNextAvailableInterAppStream(const SoString& text);

// The name under which a process that is being started looks for its parameters.
TEVOROTALK_API SoString getLaunchMsgQueueName(const SoString& specifier);
// The parameters that were left for a process that starts. False if the specifier is empty, or if
// parameters were announced and did not arrive.
TEVOROTALK_API bool getLaunchParameters(const SoString& specifier, SoString& parameters);

// What a launch of the program at that path starts: the build of a developer, where an alias
// "DeveloperApp" beside the program leads to one and nobody else can exchange it; else the program.
TEVOROTALK_API SoString startedPath(const SoString& path);

// The name, or the name, "_" and the first number from 1 on, which no file of the launch folder
// has.
TEVOROTALK_API SoString getNextAppInstance(const SoString& name);
// TEVOROTALK_LAUNCH_DIR of the environment names another folder.
TEVOROTALK_API SoString getLaunchFolderPath();

// What an alias (a symbolic link) leads to, by way of other aliases too; the path itself where
// there is no alias, or it leads to nothing. Paths have at most 1,024 bytes.
TEVOROTALK_API SoString resolveAlias(const SoString& path);
// In place of a file that stands there. False if the system refuses.
TEVOROTALK_API bool createAlias(const SoString& alias, const SoString& target);

// Passes a copy of a message's diagnostics to the subscriber of that key on the main instance.
// False if there is none, or if the message is of a kind that is not forwarded.
TEVOROTALK_API bool forwardMessage(const TevoroTalk::Message& message,
    const SoString& key,
    const SoString& path,
    const SoString& label);

// Both write only if logging is on in the current context.
TEVOROTALK_API void logMessage(
    const char* reason, const TevoroTalk::Message& message, bool withBody);
TEVOROTALK_API void logText(const SoString& text);
// Whether the process was started with TEVOROTALK_LOG=1.
TEVOROTALK_API bool isLoggingAskedFor();

} // namespace TevoroTalkUtils
} // namespace ScObjects
