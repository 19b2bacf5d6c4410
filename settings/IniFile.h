#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>
#include <QtGlobal>

#include <optional>

// The program's own INI reader and writer. It follows the rules of the old
// private-profile functions so that settings files behave as they always did:
//
// - Sections "[name]" and keys "key=value" are looked up without regard to
//   case. Blanks around section names, keys and values are ignored. When a
//   section or key occurs twice, the first one counts (reading and writing).
// - Lines starting with ";" are comments; blank lines, lines without "=" and
//   lines before the first section are kept but hold no key. "#" is an
//   ordinary character: "#Key=1" is the key "#Key".
// - A value between a matching pair of double or single quotes ("1.75" or
//   '1.75') is read without them by getString and getInt; only a pair at both
//   ends counts. value() and getSection give the text as it stands.
// - The file is UTF-8 with LF line ends. CR LF, a byte-order mark, binary
//   bytes (NUL included) and very long lines are tolerated. Lines that are not
//   rewritten are kept byte for byte; a write turns CR LF into LF.
// - Writing a key replaces its line in place when it exists, appends it after
//   the last entry of its section otherwise, and appends a missing section
//   (after a blank line) at the end of the file. Line breaks inside a written
//   section, key or value become blanks so that one write is one line.
// - Every write replaces the whole file atomically (QSaveFile): a crash or a
//   full disk never leaves a cut file. A write that cannot be made (read-only
//   folder or file, no space left, file size limit) returns false and leaves
//   file and object unchanged.
//
// Buffered reads count bytes of the UTF-8 text, as the old ANSI functions
// counted bytes, and report a cut the way those did: the returned length
// equals size - 1 for a value (size - 2 for a section) when the text filled
// the buffer.
class IniFile
{
public:
    // Reads the file at path (a missing or unreadable file reads as empty).
    explicit IniFile(const QString &path);

    // Builds an object from text, for checks that need no file; writes go to
    // path as usual (an empty path makes every write fail).
    static IniFile fromBytes(const QByteArray &content, const QString &path = QString());

    const QString &path() const { return m_path; }

    // True when the file existed when it was read.
    bool existed() const { return m_existed; }

    // The text as it would be written now.
    QByteArray content() const;

    // The value of key in section, whole and as written (quotes kept), or
    // std::nullopt when either is missing.
    std::optional<QString> value(const QString &section, const QString &key) const;

    // Copies the value without its enclosing quotes (or, when the key or section
    // is missing, the default as given with trailing blanks removed) into out,
    // cut at size - 1 bytes, and returns its length in bytes: the cut applies
    // to the value without quotes. A size of 0 or less gives 0 and empty text.
    int getString(const QString &section, const QString &key, const QString &defaultValue,
                  QString &out, int size) const;

    // The section's entries as "key=value\0key=value\0" (a line without "=" as
    // its bare text followed by "\0"; comments and blank lines left out), cut at
    // size - 2 bytes, and its length in bytes (without the final NUL that would
    // end the list). Values keep their quotes. A missing section gives 0 and
    // empty text.
    int getSection(const QString &section, QString &out, int size) const;

    // The integer value of a key, read from its value without enclosing quotes:
    // blanks, an optional sign and the leading digits, decimal, or hexadecimal
    // after "0x" or "0X" ("0xFF" is 255, "-0x10" is -16); text that starts with
    // no digit gives 0, and so does "0x" without a hexadecimal digit. A missing
    // key or an empty value gives the default. Values beyond the 32-bit range,
    // hexadecimal ones too, are held at the nearest limit.
    qint32 getInt(const QString &section, const QString &key, qint32 defaultValue) const;

    // Writes key=value (see above) and replaces the file. False when the file
    // could not be replaced, and for names that could not be read back: an
    // empty key, a key holding "=" or starting with "[" or ";", a section name
    // holding "]". On failure the object is left as it was.
    bool writeString(const QString &section, const QString &key, const QString &value);

    // Sets key=value in memory only, with the rules of writeString; commit()
    // then replaces the file once. A record save uses this so that all its keys
    // reach the file together or not at all.
    bool setString(const QString &section, const QString &key, const QString &value);

    // Replaces the file with the text held now; false when it cannot be written.
    bool commit();

    // Names of the sections in file order (first occurrence only).
    QStringList sectionNames() const;

private:
    enum class Kind { Other, Section, Entry };
    struct Line
    {
        QByteArray raw;   // the line as in the file, without its line end
        Kind kind = Kind::Other;
        QString name;     // section name or key
        QByteArray key;   // the key's bytes as in the file, blanks removed
        QByteArray value; // entry value, blanks removed
    };

    IniFile() = default;
    void parse(const QByteArray &content);
    static Line parseLine(const QByteArray &raw, bool first);
    int findSection(const QString &section) const;
    int sectionEnd(int header) const;
    int findEntry(int header, const QString &key) const;
    bool save(const QVector<Line> &lines) const;
    static QByteArray serialise(const QVector<Line> &lines);

    QString m_path;
    bool m_existed = false;
    QVector<Line> m_lines;
};
