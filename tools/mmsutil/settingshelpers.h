#ifndef MMSUTIL_SETTINGSHELPERS_H
#define MMSUTIL_SETTINGSHELPERS_H

// What the settings commands share: the table of single-value settings, how their values are read
// from the command line and shown, and what a writer's result code tells the user.

#include <message_store.h>

#include <QCommandLineOption>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QString>
#include <QVariant>

#include <cerrno>
#include <functional>
#include <optional>

class QCommandLineParser;

namespace cli
{

// ---- Results of the writers ----

// What became of a change to the settings store.
enum class Change {
    Made,
    Refused,      // the store refused it (errno tells why)
    StorageFull,  // the store refused it for want of space
    AlreadyThere, // the name or address was there already; nothing was written
};

// How a writer's result codes 0 to 3 read; the writers of single values know only 0 to 2.
using ResultCodes = Change[4];
extern const ResultCodes kWriterCodes;
extern const ResultCodes kAddProfileCodes;     // 1 already listed, 3 refused
extern const ResultCodes kAddToBlockListCodes; // 3 already blocked

// A writer's result code with errno as the writer left it.
struct WriteResult {
    int code;
    int error;
};
// Calls `write` (which returns a result code) with errno cleared, and keeps the errno it leaves.
template <typename Write> WriteResult callWriter(Write write)
{
    errno = 0;
    const int code = write();
    return {code, errno};
}

// Reports the result: nothing and ExitOk when the change was made; else one line
// "mmsutil: <what>: no space left on device" (or "... the settings store refused the change (<errno
// text>)") and ExitFailed, or `alreadyThere` and ExitNo.
int reportChange(const WriteResult& result, const ResultCodes& codes, const QString& what,
                 const QString& alreadyThere = QString());
// The same for a store call that returns true or false and sets errno.
int reportChange(bool written, int error, const QString& what);

// Fails, saying why and naming the file, when the settings store cannot be read: what a reader
// would print are its defaults, which would pass for the user's settings. Nothing when it can, or
// when it is not there yet (a new device has its defaults).
std::optional<int> failWhenSettingsUnreadable();

// Runs `change` in one batch of the settings store, so that other processes see all that it
// writes or nothing of it, and what it reads stays as read until it is done. `change` writes
// through the library, reports its own failures and returns the exit status; when that is not
// ExitOk the batch is dropped, else it is committed, and a batch that cannot begin or commit is
// reported as `what` failing. Inside another such change, it joins the outer one's batch.
int changeTogether(const QString& what, const std::function<int()>& change);

// ---- Values on the command line ----

// 1 for "1", "on", "true", 0 for "0", "off", "false" (in any letter case).
std::optional<int> parseFlag(const QString& text);
// The priority word in any letter case, as the library writes it: 128 Low, 129 Normal, 130 High.
std::optional<unsigned char> parsePriority(const QString& text);

// ---- Values shown ----

// One value as "settings show" and its kin print it.
struct ShownValue {
    QString name; // the setting's name on the command line
    QString group;
    QString key;
    QJsonValue value;  // for --json
    QString text;      // for people
    bool stored;       // false when the value is the default
    QJsonObject extra; // more members of the value's JSON object
};

ShownValue flagValue(const QString& name, const QString& group, const QString& key, int value);
ShownValue numberValue(const QString& name, const QString& group, const QString& key, qint64 value);
ShownValue textValue(const QString& name, const QString& group, const QString& key,
                     const QString& value);

// Sets `stored` of every value to whether its key is in the store.
void markStored(QList<ShownValue>* values);

// A table "SETTING  VALUE  SOURCE" with "stored" or "default" in the last column.
void printValues(const QList<ShownValue>& values);
// One object per value by its name: {"value", "isDefault", "group", "key"} and its `extra`.
QJsonObject valuesToJson(const QList<ShownValue>& values);
// Marks which values are stored, then prints them as the table or, with `asJson`, as one
// indented object; the exit status of a "show" command.
int showValues(QList<ShownValue> values, bool asJson);

// A text in double quotes and on one line, so that blanks and empty texts show.
QString quoted(const QString& text);

// ---- The single-value settings ----

enum class Kind {
    Flag,
    Number,
    Text,
    ProfileName, // a text that names a listed profile, or "" for none
    Ipv4Address, // a number kept as an unsigned int, also given in dotted form
};

// One setting that "settings show" shows and "settings set" changes. Profile values belong to a
// profile: the default one for "settings", the one named for "profile"; the others ignore it.
struct Setting {
    const char* name;
    QLatin1String key;
    Kind kind;
    unsigned int maximum; // of a number
    bool perProfile;
    const char* description;
    QVariant (*read)(const QString& profile);
    // Null for a value changed by other commands.
    int (*write)(const QString& profile, const QVariant& value);
    // Null but for a size limit, in KB: the limit the message store applies.
    tavmms::store::SizeLimit (*limit)();
};

const QList<Setting>& settings();
const Setting* settingNamed(const QString& name);
// The profile values, in the order "profile set" writes them.
QList<Setting> profileSettings();

// The value read from `text` for `setting`: an int for flags, an unsigned int for numbers, the
// text itself for texts; nothing, with `error` set (a usage error), when the text does not fit.
std::optional<QVariant> parseValue(const Setting& setting, const QString& text, QString* error);
// Reads `setting` (of `profile`) as it is shown.
ShownValue showSetting(const Setting& setting, const QString& profile);
// Writes a value from parseValue() to `setting` (of `profile`), after checking that a profile
// name names a listed profile, in a batch of its own (see changeTogether); reports what went
// wrong and returns the exit status.
int changeSetting(const Setting& setting, const QString& profile, const QVariant& value);

// Whether `name` is in the list of profiles; reports "no profile "<name>"" when not.
bool profileListed(const QString& name);

// ---- Sending options ----

// The sending options as a message header holds them.
struct SendingValues {
    bool deliveryReport;
    bool readReport;
    unsigned int expiry; // seconds
    unsigned char priority;
};

// The sending options given on a command line; those not given are empty.
struct SendingChoice {
    std::optional<bool> deliveryReport;
    std::optional<bool> readReport;
    std::optional<unsigned int> expiry;
    std::optional<unsigned char> priority;

    bool any() const { return deliveryReport || readReport || expiry || priority; }
    // Replaces the values that were given.
    void applyTo(SendingValues* values) const;
};

// The options --delivery-report, --read-report, --expiry and --priority, which "sending set" and
// "mailfile write" share.
class SendingOptions
{
public:
    // `note` ends each option's description.
    explicit SendingOptions(const QString& note);

    QList<QCommandLineOption> options() const;
    // The values given; nothing, with `error` set, when one is wrong.
    std::optional<SendingChoice> choice(const QCommandLineParser& parser, QString* error) const;

private:
    QCommandLineOption deliveryReport_;
    QCommandLineOption readReport_;
    QCommandLineOption expiry_;
    QCommandLineOption priority_;
};

} // namespace cli

#endif
