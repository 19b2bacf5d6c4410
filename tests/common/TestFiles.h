#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// Whole-file reads and writes for tests that check what a save put on disk.

// The bytes of a file, or "<unreadable>" when it cannot be opened, so a missing
// file never compares equal to expected contents.
QByteArray readAll(const QString &path);

// Replaces the file's contents; true only when every byte was written.
bool writeAll(const QString &path, const QByteArray &bytes);

// The trimmed, non-empty "key=value" lines of one section of an INI text, in
// file order; the section name is matched without regard to case.
QStringList sectionLines(const QByteArray &file, const QString &section);
