// Free operations that the bus shares: files, time, the locale, who this user and this process are,
// and readers of small texts. All answer by result; any thread may call.
#pragma once

#include "messaging/SoString.h"
#include "messaging/SoVector.h"
#include "messaging/TevoroTalk.h"

#include <cstdint>

namespace ScObjects {

class InterAppStream;

namespace TevoroTalkUtils {

// Do nothing; the places where a platform would set up and tear down.
TEVOROTALK_API void init();
TEVOROTALK_API void exit();

// Lower case, like "de_at"; "en_us" when there is none, or one of more than 15 bytes.
TEVOROTALK_API SoString getCurrentLocale();

// Folders count too.
TEVOROTALK_API bool fileExists(const SoString& path);
// False when there is nothing to delete.
TEVOROTALK_API bool deleteFile(const SoString& path);
// True when something stands there already, a file too. Mode 0771.
TEVOROTALK_API bool mkdir(const SoString& path);
TEVOROTALK_API bool rmdir(const SoString& path);
TEVOROTALK_API const char* getFolderSeparator();

TEVOROTALK_API void sleep(unsigned int milliseconds);
// Of the wall clock, whole milliseconds since the beginning of 1970.
TEVOROTALK_API double getUTCTimeMilliSeconds();
// Seconds since the beginning of 1970.
TEVOROTALK_API std::int64_t getTimeSeconds();
// Local time as "%H:%M:%S": of `time` in seconds since 1970, of this moment when that is null.
TEVOROTALK_API SoString getTimeString(const std::int64_t* time);

// Milliseconds that passed. Reading does not stop it.
class TEVOROTALK_API Timer : public SoHeap {
public:
    void start();
    double now() const;
    double stop() const;

private:
    double m_start = 0;
};

// A walk through a folder and those below it, of at most 256 entries a folder. A false from either
// operation ends it.
class TEVOROTALK_API FileFilter {
public:
    virtual ~FileFilter() = default;
    virtual bool run(const SoString& folder);
    virtual bool onFile(const SoString& path);
    virtual bool onFolder(const SoString& path);
};

// False also for a folder that cannot be read, or that holds nothing.
TEVOROTALK_API bool iterateFolder(const SoString& folder, FileFilter& filter);

// This user's random value in hexadecimal digits, the same for all processes; empty without a home
// folder. Three names for one value.
TEVOROTALK_API SoString getUserID();
TEVOROTALK_API SoString getSecurityID();
TEVOROTALK_API SoString getSignature();

// The digest that marks a text as written by this user: see getDigest in Identity.h.
TEVOROTALK_API SoString getMD5(const SoString& text);

// "localhost:mac" and the process id.
TEVOROTALK_API SoString getSenderID();

// Reads one line of the diagnostics tree: PATH;FLAG;LABEL;VALUE; and a line feed. Gives the start
// of the next line, or null, with the outputs empty or read in part, when the line is none.
TEVOROTALK_API const char* parseInfoLine(
    const char* text, SoString& path, SoString& label, SoString& value, bool& hasChildren);

// Divides a text at blanks, "=", ";", ":" and quotes of both kinds, which do not group. The words
// are appended, new and the caller's to delete. The length of `words` then.
TEVOROTALK_API long parseOptions(const SoString& text, SoVector<SoString>& words);

// One question and its answer over the process's own stream; the answer, or the word that says why
// there is none. `target` may be "allRunningApps": all that are registered, one after the other, of
// which the last answer is given and `answered` counts those that answered. Blocks for at most
// `timeout` seconds a target; 0 only sends.
TEVOROTALK_API SoString ping(const SoString& target,
    bool isRequest,
    const SoString& command,
    std::uint32_t serial,
    std::int32_t timeout,
    const SoString* body,
    int* answered);

// A good stream of that name or of one of its instances 1 to 8, the caller's to delete; null when
// all are held or the name is empty. Not for applications, which have no streams.
InterAppStream* createNextAvailableInterAppStream(const SoString& specifier);

// Where a process that is being started looks for its parameters.
TEVOROTALK_API SoString getLaunchMsgQueueName(const SoString& specifier);
// What was left for a process that starts. False when the specifier is empty, or when parameters
// were announced and did not come.
TEVOROTALK_API bool getLaunchParameters(const SoString& specifier, SoString& parameters);

// Hands a copy of a message's diagnostics to the one who subscribed to that key on the main
// instance. False when nobody did, or the message is of a kind that is not forwarded.
TEVOROTALK_API bool forwardMessage(const TevoroTalk::Message& message,
    const SoString& key,
    const SoString& path,
    const SoString& label);

// Both log only where logging is on in the current context.
TEVOROTALK_API void logMessage(
    const char* reason, const TevoroTalk::Message& message, bool withBody);
TEVOROTALK_API void logText(const SoString& text);
// Whether the process was started with TEVOROTALK_LOG=1.
TEVOROTALK_API bool isLoggingAskedFor();

} // namespace TevoroTalkUtils
} // namespace ScObjects
