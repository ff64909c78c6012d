#include "commandline.h"

namespace {

constexpr int maxDays = 3650;

} // namespace

QString CommandLine::helpText()
{
    return QStringLiteral(
        "Usage: oxmerel-connect-diag <command> [options]\n"
        "\n"
        "Commands:\n"
        "  bundle [-o FILE.zip] [--days N] [--dry-run] [--hide-identities]\n"
        "      Write a support bundle: tray.ini, the credentials file with every password, vault secret and token\n"
        "      masked, the lock markers, the logs of the last N days (3 by default) with secrets masked, the\n"
        "      auto-start entry, facts about the system and MANIFEST.txt. Without -o it goes to the desktop, or to\n"
        "      the home folder when there is none. --dry-run prints the manifest and writes nothing;\n"
        "      --hide-identities also replaces hosts and e-mail addresses by aliases.\n"
        "  status [--json]\n"
        "      Tell whether Oxmerel Connect runs, the signed-in workspaces, the remembered and locked robots and,\n"
        "      while it runs, each robot's state and unread lines.\n"
        "\n"
        "Options:\n"
        "  -h, --help     Show this help.\n"
        "  --version      Show the version.\n"
        "\n"
        "Exit codes: 0 done, or running for status; 3 not running; 2 bad usage or unreadable files;\n"
        "1 the bundle could not be written.\n");
}

CommandLine CommandLine::parse(const QStringList& arguments)
{
    CommandLine line;
    const auto fail = [&line](const QString& error) {
        line.error = error;
        return line;
    };
    if (arguments.isEmpty()) {
        return fail(QStringLiteral("no command given"));
    }
    const QString& command = arguments.first();
    if (command == QLatin1String("-h") || command == QLatin1String("--help") || command == QLatin1String("help")) {
        return line;
    }
    if (command == QLatin1String("--version")) {
        line.command = Command::Version;
        return line;
    }
    if (command == QLatin1String("bundle")) {
        line.command = Command::Bundle;
    } else if (command == QLatin1String("status")) {
        line.command = Command::Status;
    } else {
        return fail(QStringLiteral("unknown command: %1").arg(command));
    }

    const bool bundle = line.command == Command::Bundle;
    for (int i = 1; i < arguments.size(); ++i) {
        QString option = arguments.at(i);
        QString value;
        const qsizetype equals = option.indexOf(QLatin1Char('='));
        const bool inlineValue = option.startsWith(QLatin1String("--")) && equals > 0;
        if (inlineValue) {
            value = option.mid(equals + 1);
            option.truncate(equals);
        }
        const bool takesValue = bundle
            && (option == QLatin1String("-o") || option == QLatin1String("--output")
                || option == QLatin1String("--days"));
        if (takesValue && !inlineValue) {
            if (++i == arguments.size()) {
                return fail(QStringLiteral("%1 needs a value").arg(option));
            }
            value = arguments.at(i);
        } else if (!takesValue && inlineValue) {
            return fail(QStringLiteral("%1 takes no value").arg(option));
        }

        if (option == QLatin1String("-h") || option == QLatin1String("--help")) {
            line.command = Command::Help;
            return line;
        } else if (bundle && (option == QLatin1String("-o") || option == QLatin1String("--output"))) {
            line.bundle.output = value;
        } else if (bundle && option == QLatin1String("--days")) {
            bool ok = false;
            line.bundle.days = value.toInt(&ok);
            if (!ok || line.bundle.days < 0 || line.bundle.days > maxDays) {
                return fail(QStringLiteral("--days takes a whole number from 0 to %1").arg(maxDays));
            }
        } else if (bundle && option == QLatin1String("--dry-run")) {
            line.bundle.dryRun = true;
        } else if (bundle && option == QLatin1String("--hide-identities")) {
            line.bundle.hideIdentities = true;
        } else if (!bundle && option == QLatin1String("--json")) {
            line.json = true;
        } else {
            return fail(QStringLiteral("unknown option for %1: %2").arg(command, arguments.at(i)));
        }
    }
    return line;
}
