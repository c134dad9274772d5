#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

// A multipart/form-data body, read in one forward pass: each search for a boundary starts where
// the previous one ended, and the number of parts and the size of their headers are capped, so
// a hostile body costs time in proportion to its size.
class MultipartForm
{
public:
    static constexpr int maxParts = 16;
    static constexpr int maxHeaderBytes = 8 * 1024;

    struct Part
    {
        QString name;
        QString fileName; // empty for a plain field
        QByteArray body;
    };

    // False when the body is not a well-formed form of that Content-Type.
    bool parse(const QByteArray &contentType, const QByteArray &body);
    // Null when the form has no part of that name.
    const Part *part(const QString &name) const;

private:
    bool parseHeaders(const QByteArray &headers, Part *part) const;

    QVector<Part> m_parts;
};
