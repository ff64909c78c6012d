#pragma once

#include <QByteArray>
#include <QByteArrayMatcher>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

// Masks secrets in one line of text (a log line, a settings line): first the literal secrets and identities known from
// the credentials file, then a short list of patterns for what secrets look like in a line. With identities hidden,
// known hosts and e-mail addresses become their aliases and any other e-mail address a fixed marker.
class LineRedactor
{
public:
    explicit LineRedactor(bool hideIdentities = false);

    // Secrets shorter than this are masked in the credentials file only: in a log they would mangle common words.
    static constexpr qsizetype minimumSecretLength = 4;
    static const QByteArray marker;

    void addSecret(const QByteArray& secret);
    void addAlias(const QByteArray& identity, const QByteArray& alias);

    // The line with every secret masked; the rule of each redaction is appended to `rules`.
    QByteArray redact(const QByteArray& line, QStringList* rules) const;

private:
    struct Literal {
        QByteArray text;
        QByteArray replacement;
        QString rule;
        QByteArrayMatcher matcher;
    };
    void addLiteral(const QByteArray& text, const QByteArray& replacement, const QString& rule);

    QRegularExpression patterns;
    // The name and the mask of each alternative of `patterns`, in order.
    QStringList ruleNames;
    QList<QByteArray> masks;
    QList<Literal> literals;
};
