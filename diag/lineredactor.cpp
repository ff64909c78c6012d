#include "lineredactor.h"

#include <algorithm>

namespace {

struct Rule {
    const char* name;
    // Two groups: the text kept before the secret, and the secret. A secret never starts with '[', so that a marker
    // put in by an earlier step is not counted again.
    const char* pattern;
};

// Matched case-insensitively on the line's bytes read as Latin-1, so that offsets are byte offsets and no byte
// changes outside a secret.
const Rule rules[] = {
    { "authorization header", R"((\bauthorization["']?\s*[:=]\s*["']?)(?!\[)([^"'\r\n]+))" },
    { "bearer token", R"((\bbearer\s+)([A-Za-z0-9._~+/-]+=*))" },
    { "password, secret, token or api key",
        R"(((?:password|passwd|secret|token|api[-_]?key)[\w-]*["']?\s*[:=]\s*)(?!\[)("[^"]*"|'[^']*'|[^\s"',;&]+))" },
    { "web token", R"(()(\beyJ[A-Za-z0-9_-]{8,}\.[A-Za-z0-9_-]{8,}\.[A-Za-z0-9_-]*))" },
    { "password in an address", R"((://[^/\s:@]+:)([^/\s@\[]+)(?=@))" },
};

const Rule emailRule = { "e-mail address", R"(()([A-Za-z0-9._%+-]+@[A-Za-z0-9-]+(?:\.[A-Za-z0-9-]+)+))" };

const QByteArray emailMarker = QByteArrayLiteral("[e-mail]");

} // namespace

const QByteArray LineRedactor::marker = QByteArrayLiteral("[REDACTED]");

LineRedactor::LineRedactor(bool hideIdentities)
{
    QStringList alternatives;
    for (const Rule& rule : rules) {
        ruleNames.append(QLatin1String(rule.name));
        alternatives.append(QLatin1String(rule.pattern));
        masks.append(marker);
    }
    if (hideIdentities) {
        ruleNames.append(QLatin1String(emailRule.name));
        alternatives.append(QLatin1String(emailRule.pattern));
        masks.append(emailMarker);
    }
    patterns.setPattern(alternatives.join(QLatin1Char('|')));
    patterns.setPatternOptions(QRegularExpression::CaseInsensitiveOption);
    patterns.optimize();
}

void LineRedactor::addSecret(const QByteArray& secret)
{
    addLiteral(secret, marker, QStringLiteral("secret of the credentials file"));
}

void LineRedactor::addAlias(const QByteArray& identity, const QByteArray& alias)
{
    addLiteral(identity, alias, QStringLiteral("identity"));
}

void LineRedactor::addLiteral(const QByteArray& text, const QByteArray& replacement, const QString& rule)
{
    const bool known
        = std::any_of(literals.cbegin(), literals.cend(), [&](const Literal& l) { return l.text == text; });
    if (text.size() < minimumSecretLength || known) {
        return;
    }
    literals.append({ text, replacement, rule, QByteArrayMatcher(text) });
    // The longest first, so that a secret holding a shorter one goes whole.
    std::stable_sort(literals.begin(), literals.end(),
        [](const Literal& a, const Literal& b) { return a.text.size() > b.text.size(); });
}

QByteArray LineRedactor::redact(const QByteArray& line, QStringList* found) const
{
    QByteArray text = line;
    for (const Literal& literal : literals) {
        for (qsizetype at = literal.matcher.indexIn(text); at >= 0;
             at = literal.matcher.indexIn(text, at + literal.replacement.size())) {
            text.replace(at, literal.text.size(), literal.replacement);
            found->append(literal.rule);
        }
    }

    QRegularExpressionMatchIterator matches = patterns.globalMatch(QString::fromLatin1(text));
    if (!matches.hasNext()) {
        return text;
    }
    QByteArray result;
    qsizetype copied = 0;
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        for (int rule = 0; rule < ruleNames.size(); ++rule) {
            const qsizetype start = match.capturedStart(2 * rule + 2);
            if (start < 0) {
                continue;
            }
            result += QByteArrayView(text).sliced(copied, start - copied);
            const char first = text.at(start);
            const QByteArray& mask = masks.at(rule);
            if (first == '"' || first == '\'') {
                result += first + mask + first;
            } else {
                result += mask;
            }
            copied = match.capturedEnd(2 * rule + 2);
            found->append(ruleNames.at(rule));
            break;
        }
    }
    result += QByteArrayView(text).sliced(copied);
    return result;
}
