#include "settings/IniFile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringList>

#include <cerrno>
#include <limits>
#include <unistd.h>

namespace {

const QByteArray Bom("\xEF\xBB\xBF");

// Only ";" starts a comment, as it always has in these files; "#" is an
// ordinary character, so "#Key=1" is the key "#Key".
bool isComment(const QByteArray &trimmed)
{
    return trimmed.startsWith(';');
}

// A value between a matching pair of double or single quotes is read without
// them, so that MaxX="1.75" reads as 1.75. Only a pair at both ends counts:
// "1.75' and a lone " stay as they are.
QByteArray unquoted(const QByteArray &value)
{
    const qsizetype n = value.size();
    if (n >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front())
        return value.mid(1, n - 2);
    return value;
}

int digitValue(char c, int base)
{
    int d = base;
    if (c >= '0' && c <= '9')
        d = c - '0';
    else if (c >= 'a' && c <= 'f')
        d = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F')
        d = c - 'A' + 10;
    return d < base ? d : -1;
}

// One write is one line: line breaks inside a name or value would otherwise
// create lines the next read takes for keys or sections.
QByteArray oneLine(const QString &text)
{
    QByteArray bytes = text.toUtf8();
    bytes.replace('\r', ' ');
    bytes.replace('\n', ' ');
    return bytes;
}

// Removes trailing blanks only, as the old functions did with a default text.
QByteArray chopTrailingBlanks(QByteArray bytes)
{
    int n = int(bytes.size());
    while (n > 0) {
        const char c = bytes.at(n - 1);
        if (c != ' ' && c != '\t' && c != '\r' && c != '\n' && c != '\v' && c != '\f')
            break;
        --n;
    }
    bytes.truncate(n);
    return bytes;
}

// A file system may take the bytes and only find out on the way to the disk
// that it has no room (delayed allocation, network file systems): the sync
// tells. commit() syncs as well but ignores the result. A file that cannot be
// synced at all (EINVAL, EROFS) has nothing to report.
bool syncedToDisk(QSaveFile &file)
{
    const int fd = file.handle();
    if (fd < 0)
        return true;
    int result;
    do
        result = ::fsync(fd);
    while (result != 0 && errno == EINTR);
    return result == 0 || errno == EINVAL || errno == EROFS;
}

} // namespace

IniFile::IniFile(const QString &path) : m_path(path)
{
    QFile file(path);
    QFileInfo info(path);
    m_existed = info.exists() && info.isFile();
    if (m_existed && file.open(QIODevice::ReadOnly))
        parse(file.readAll());
}

IniFile IniFile::fromBytes(const QByteArray &content, const QString &path)
{
    IniFile ini;
    ini.m_path = path;
    ini.m_existed = true;
    ini.parse(content);
    return ini;
}

void IniFile::parse(const QByteArray &content)
{
    m_lines.clear();
    if (content.isEmpty())
        return;
    QList<QByteArray> raws = content.split('\n');
    // A final line end closes the last line; it does not start a new one.
    if (content.endsWith('\n'))
        raws.removeLast();
    m_lines.reserve(raws.size());
    for (int i = 0; i < raws.size(); ++i)
        m_lines.append(parseLine(raws.at(i), i == 0));
}

IniFile::Line IniFile::parseLine(const QByteArray &rawIn, bool first)
{
    Line line;
    line.raw = rawIn;
    if (line.raw.endsWith('\r'))
        line.raw.chop(1);
    QByteArray text = line.raw;
    if (first && text.startsWith(Bom))
        text.remove(0, Bom.size());
    const QByteArray t = text.trimmed();
    if (t.isEmpty() || isComment(t))
        return line;
    if (t.startsWith('[')) {
        // A header without its closing bracket still names a section: the
        // rest of the line.
        int close = int(t.indexOf(']'));
        if (close < 0)
            close = int(t.size());
        line.kind = Kind::Section;
        line.name = QString::fromUtf8(t.mid(1, close - 1).trimmed());
        return line;
    }
    const int eq = int(t.indexOf('='));
    if (eq <= 0)
        return line; // no "=" or no key: kept, but holds no key
    const QByteArray key = t.left(eq).trimmed();
    if (key.isEmpty())
        return line;
    line.kind = Kind::Entry;
    line.name = QString::fromUtf8(key);
    line.key = key;
    line.value = t.mid(eq + 1).trimmed();
    return line;
}

int IniFile::findSection(const QString &section) const
{
    const QString wanted = section.trimmed();
    for (int i = 0; i < m_lines.size(); ++i) {
        const Line &l = m_lines.at(i);
        if (l.kind == Kind::Section && l.name.compare(wanted, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

int IniFile::sectionEnd(int header) const
{
    int i = header + 1;
    while (i < m_lines.size() && m_lines.at(i).kind != Kind::Section)
        ++i;
    return i;
}

int IniFile::findEntry(int header, const QString &key) const
{
    const QString wanted = key.trimmed();
    const int end = sectionEnd(header);
    for (int i = header + 1; i < end; ++i) {
        const Line &l = m_lines.at(i);
        if (l.kind == Kind::Entry && l.name.compare(wanted, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

QByteArray IniFile::serialise(const QVector<Line> &lines)
{
    QByteArray out;
    qsizetype total = 0;
    for (const Line &l : lines)
        total += l.raw.size() + 1;
    out.reserve(total);
    for (const Line &l : lines) {
        out += l.raw;
        out += '\n';
    }
    return out;
}

QByteArray IniFile::content() const
{
    return serialise(m_lines);
}

std::optional<QString> IniFile::value(const QString &section, const QString &key) const
{
    const int h = findSection(section);
    if (h < 0)
        return std::nullopt;
    const int e = findEntry(h, key);
    if (e < 0)
        return std::nullopt;
    return QString::fromUtf8(m_lines.at(e).value);
}

int IniFile::getString(const QString &section, const QString &key, const QString &defaultValue,
                       QString &out, int size) const
{
    out.clear();
    if (size <= 0)
        return 0;
    QByteArray bytes;
    const int h = findSection(section);
    const int e = h < 0 ? -1 : findEntry(h, key);
    if (e >= 0)
        bytes = unquoted(m_lines.at(e).value);
    else
        bytes = chopTrailingBlanks(defaultValue.toUtf8());
    if (bytes.size() > size - 1)
        bytes.truncate(size - 1);
    out = QString::fromUtf8(bytes);
    return int(bytes.size());
}

int IniFile::getSection(const QString &section, QString &out, int size) const
{
    out.clear();
    if (size <= 0)
        return 0;
    const int h = findSection(section);
    if (h < 0)
        return 0;
    QByteArray bytes;
    const int end = sectionEnd(h);
    const qsizetype limit = qsizetype(size); // enough to tell whether it fits
    for (int i = h + 1; i < end && bytes.size() <= limit; ++i) {
        const Line &l = m_lines.at(i);
        if (l.kind == Kind::Entry) {
            bytes += l.key;
            bytes += '=';
            bytes += l.value;
            bytes += '\0';
        } else {
            const QByteArray t = l.raw.trimmed();
            if (t.isEmpty() || isComment(t))
                continue;
            bytes += t;
            bytes += '\0';
        }
    }
    const int room = qMax(0, size - 2);
    if (bytes.size() > room)
        bytes.truncate(room);
    out = QString::fromUtf8(bytes);
    return int(bytes.size());
}

qint32 IniFile::getInt(const QString &section, const QString &key, qint32 defaultValue) const
{
    const int h = findSection(section);
    const int e = h < 0 ? -1 : findEntry(h, key);
    if (e < 0)
        return defaultValue;
    const QByteArray v = unquoted(m_lines.at(e).value);
    if (v.isEmpty())
        return defaultValue;
    int i = 0;
    const int n = int(v.size());
    while (i < n && (v.at(i) == ' ' || v.at(i) == '\t'))
        ++i;
    bool negative = false;
    if (i < n && (v.at(i) == '+' || v.at(i) == '-')) {
        negative = v.at(i) == '-';
        ++i;
    }
    // Colours are often written in hexadecimal (Color1=0xFF is red).
    int base = 10;
    if (i + 1 < n && v.at(i) == '0' && (v.at(i + 1) == 'x' || v.at(i + 1) == 'X')) {
        base = 16;
        i += 2;
    }
    // Accumulate in 64 bits and stop once beyond the 32-bit range, so that any
    // number of digits is read without overflow and then held at the limit.
    const qint64 cap = qint64(std::numeric_limits<qint32>::max()) + 1;
    qint64 magnitude = 0;
    for (int d; i < n && (d = digitValue(v.at(i), base)) >= 0; ++i) {
        if (magnitude <= cap)
            magnitude = magnitude * base + d;
    }
    if (magnitude > cap)
        magnitude = cap;
    const qint64 result = negative ? -magnitude : magnitude;
    if (result > std::numeric_limits<qint32>::max())
        return std::numeric_limits<qint32>::max();
    if (result < std::numeric_limits<qint32>::min())
        return std::numeric_limits<qint32>::min();
    return qint32(result);
}

bool IniFile::writeString(const QString &section, const QString &key, const QString &value)
{
    const QVector<Line> before = m_lines;
    const bool existed = m_existed;
    if (!setString(section, key, value))
        return false;
    if (!commit()) {
        m_lines = before;
        m_existed = existed;
        return false;
    }
    return true;
}

bool IniFile::commit()
{
    if (!save(m_lines))
        return false;
    m_existed = true;
    return true;
}

bool IniFile::setString(const QString &section, const QString &key, const QString &value)
{
    const QByteArray sec = oneLine(section).trimmed();
    const QByteArray k = oneLine(key).trimmed();
    const QByteArray v = oneLine(value).trimmed();
    if (k.isEmpty() || k.contains('=') || k.startsWith('[') || isComment(k) || sec.contains(']'))
        return false;

    const QString secName = QString::fromUtf8(sec);
    const QString keyName = QString::fromUtf8(k);
    const int h = findSection(secName);
    if (h < 0) {
        if (!m_lines.isEmpty() && !m_lines.last().raw.trimmed().isEmpty())
            m_lines.append(parseLine(QByteArray(), false));
        m_lines.append(parseLine('[' + sec + ']', m_lines.isEmpty()));
        m_lines.append(parseLine(k + '=' + v, false));
        return true;
    }
    const int e = findEntry(h, keyName);
    if (e >= 0) {
        // The key keeps the spelling it has in the file.
        Line &l = m_lines[e];
        l = parseLine(l.key + '=' + v, e == 0);
        return true;
    }
    int after = h;
    const int end = sectionEnd(h);
    for (int i = h + 1; i < end; ++i) {
        const QByteArray t = m_lines.at(i).raw.trimmed();
        if (!t.isEmpty() && !isComment(t))
            after = i;
    }
    m_lines.insert(after + 1, parseLine(k + '=' + v, false));
    return true;
}

bool IniFile::save(const QVector<Line> &lines) const
{
    if (m_path.isEmpty())
        return false;
    const QFileInfo info(m_path);
    if (info.exists() && (!info.isFile() || !info.isWritable()))
        return false;
    // Unbuffered, so that a write the disk cannot take (no space left, file
    // size limit) fails here, where it is seen. Buffered, the bytes would only
    // reach the disk in the flush inside commit(), and Qt 6.4's commit()
    // reports success when that flush fails: the cut temporary file would
    // replace the user's settings.
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    const QByteArray bytes = serialise(lines);
    const bool written = file.write(bytes) == bytes.size() && file.flush()
        && file.error() == QFileDevice::NoError && syncedToDisk(file);
    if (!written) {
        // Discards the temporary file; the old one stays as it was.
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

QStringList IniFile::sectionNames() const
{
    QStringList names;
    for (const Line &l : m_lines) {
        if (l.kind != Kind::Section)
            continue;
        bool seen = false;
        for (const QString &n : names)
            seen = seen || n.compare(l.name, Qt::CaseInsensitive) == 0;
        if (!seen)
            names.append(l.name);
    }
    return names;
}
