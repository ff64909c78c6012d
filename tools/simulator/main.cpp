// Runtime simulator: stands in for the robot runtime in tests and in the demo. Installed (as links) under the
// runtime's program names, it plays a scenario on its standard streams and records what it was given.
//
// Environment:
//   OXMEREL_SIM_SCENARIO=<file>  the scenario to play; without it a built-in demo scenario is played.
//   OXMEREL_SIM_RECORD=<file>    append one JSON line per event:
//       {"pid":P,"program":"oxmerel-runner","argv":[...]}   at start (the arguments after the program)
//       {"pid":P,"stdin":"text"}                            each stdin line read (without its newline)
//       {"pid":P,"child":C}                                 a grandchild started by spawn-child
//       {"pid":P,"exit":code}                               at a normal end
//       {"pid":P,"listed":n}                                 a listing written by `list`
//     Every record also carries "at": the monotonic clock in milliseconds, which benchmarks compare across processes.
//
// Scenario file: one command per line. "[oxmerel-runner]" / "[oxmerel-agent]" start the section played by the
// program of that name; lines before any section are played by both. Blank lines and lines starting with '#' are
// skipped. The end of a section acts as `hang`.
//   print <text>       write text and a newline to stdout
//   printraw <text>    write text without a newline, at once (to split a line across writes)
//   stderr <text>      write text and a newline to stderr
//   expect             read one stdin line and record it; it becomes ${LAST}; exit 0 if stdin closes
//   sleep <ms>         pause
//   flood <n> <text>   print text n times as fast as the pipe takes it, ${N} counting from 1
//   every <ms> <text>  print text every ms until stdin closes, ${N} counting from 1
//   stream <bytes>     write that many 'x' bytes without a newline (with printraw/print: one huge line)
//   list <n>           print a robot listing of n robots ("rb-1", "Robot 1", ...) and record when it was written
//   ignore-term        ignore SIGTERM
//   spawn-child        start a grandchild that sleeps in our process group; record its pid
//   exit <code>        end with that exit code
//   hang               record stdin lines until stdin closes, then exit 0
// In texts: ${LAST} is the last line read by expect, ${N} the counter, ${TIME} the time as hh:mm:ss, and \xHH one raw
// byte (so that a line can be split inside a UTF-8 character).

#include <QByteArray>
#include <QByteArrayList>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTime>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

const char defaultScenario[] = R"([oxmerel-runner]
print {"status":"started","level":"info","msg":"Robot runtime started","time":"${TIME}"}
print {"status":"waiting_input","msg":"Password"}
expect
print {"status":"connecting","level":"info","msg":"Signing in to the workspace","time":"${TIME}"}
print {"status":"logged_in","workspace":"Acme Demo"}
print {"status":"waiting_selection","items":[{"id":"rb-invoices","name":"Invoice Processing"},{"id":"rb-reports","name":"Monthly Reports"},{"id":"rb-onboarding","name":"Employee Onboarding"}]}
expect
print {"status":"connected","level":"info","msg":"Robot ${LAST} connected and waiting for jobs","time":"${TIME}"}
every 600 {"level":"info","msg":"Job ${N}: processed the next queue item and stored the result","time":"${TIME}"}
[oxmerel-agent]
print {"status":"started","level":"info","msg":"Agent started","time":"${TIME}"}
hang
)";

qint64 ownPid = 0;
QByteArray lastLine;

void record(QJsonObject event)
{
    const QByteArray path = qgetenv("OXMEREL_SIM_RECORD");
    if (path.isEmpty())
        return;
    event.insert(QStringLiteral("pid"), ownPid);
    timespec now {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    event.insert(QStringLiteral("at"), static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6);
    const QByteArray line = QJsonDocument(event).toJson(QJsonDocument::Compact) + '\n';
    // One append-mode write per event keeps lines of concurrent simulators whole.
    const int fd = ::open(path.constData(), O_WRONLY | O_APPEND | O_CREAT, 0644);
    if (fd < 0)
        return;
    [[maybe_unused]] const ssize_t written = ::write(fd, line.constData(), static_cast<size_t>(line.size()));
    ::close(fd);
}

[[noreturn]] void finish(int code)
{
    record({ { QStringLiteral("exit"), code } });
    std::_Exit(code);
}

void writeAll(int fd, const QByteArray& data)
{
    qsizetype done = 0;
    while (done < data.size()) {
        const ssize_t n = ::write(fd, data.constData() + done, static_cast<size_t>(data.size() - done));
        if (n < 0)
            std::_Exit(1);
        done += n;
    }
}

// Reads stdin line by line, unbuffered by stdio so that poll() sees what is really pending.
class StdinLines
{
public:
    enum Result { Line, Timeout, Closed };

    // timeoutMs < 0 waits for ever.
    Result next(QByteArray* line, int timeoutMs)
    {
        for (;;) {
            const qsizetype end = pending.indexOf('\n');
            if (end >= 0) {
                *line = pending.left(end);
                pending.remove(0, end + 1);
                return Line;
            }
            pollfd in { STDIN_FILENO, POLLIN, 0 };
            if (::poll(&in, 1, timeoutMs) == 0)
                return Timeout;
            char chunk[4096];
            const ssize_t n = ::read(STDIN_FILENO, chunk, sizeof chunk);
            if (n <= 0)
                return Closed;
            pending.append(chunk, n);
        }
    }

private:
    QByteArray pending;
};

StdinLines input;

void recordInput(const QByteArray& line)
{
    record({ { QStringLiteral("stdin"), QString::fromUtf8(line) } });
}

// ${LAST}, ${TIME} and \xHH; ${N} is left for the caller.
QByteArray expand(QByteArray text)
{
    text.replace("${LAST}", lastLine);
    text.replace("${TIME}", QTime::currentTime().toString(QStringLiteral("hh:mm:ss")).toUtf8());
    if (!text.contains("\\x"))
        return text;
    QByteArray bytes;
    bytes.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        bool ok = false;
        const int value = text.mid(i, 2) == "\\x" ? text.mid(i + 2, 2).toInt(&ok, 16) : 0;
        if (ok) {
            bytes.append(static_cast<char>(value));
            i += 3;
        } else {
            bytes.append(text.at(i));
        }
    }
    return bytes;
}

void flood(qint64 count, const QByteArray& text)
{
    const QByteArray pattern = expand(text);
    const qsizetype at = pattern.indexOf("${N}");
    const QByteArray head = at < 0 ? pattern : pattern.left(at);
    const QByteArray tail = at < 0 ? QByteArray() : pattern.mid(at + 4);
    QByteArray chunk;
    chunk.reserve(1 << 17);
    for (qint64 n = 1; n <= count; ++n) {
        chunk.append(head);
        if (at >= 0)
            chunk.append(QByteArray::number(n)).append(tail);
        chunk.append('\n');
        if (chunk.size() >= (1 << 16)) {
            writeAll(STDOUT_FILENO, chunk);
            chunk.clear();
        }
    }
    writeAll(STDOUT_FILENO, chunk);
}

void stream(qint64 bytes)
{
    const QByteArray chunk(1 << 16, 'x');
    for (; bytes > 0; bytes -= chunk.size())
        writeAll(STDOUT_FILENO, bytes >= chunk.size() ? chunk : chunk.left(bytes));
}

[[noreturn]] void every(int ms, const QByteArray& text)
{
    QByteArray line;
    for (qint64 n = 1;; ++n) {
        writeAll(STDOUT_FILENO, expand(text).replace("${N}", QByteArray::number(n)) + '\n');
        // Waiting on stdin rather than sleeping: the simulator ends with the program that started it.
        for (;;) {
            const StdinLines::Result result = input.next(&line, ms);
            if (result == StdinLines::Closed)
                finish(0);
            if (result == StdinLines::Timeout)
                break;
            recordInput(line);
        }
    }
}

[[noreturn]] void hang()
{
    QByteArray line;
    while (input.next(&line, -1) == StdinLines::Line)
        recordInput(line);
    finish(0);
}

void listRobots(int count)
{
    QJsonArray items;
    for (int n = 1; n <= count; ++n)
        items.append(QJsonObject { { QStringLiteral("id"), QStringLiteral("rb-%1").arg(n) },
            { QStringLiteral("name"), QStringLiteral("Robot %1").arg(n) } });
    const QJsonObject listing { { QStringLiteral("status"), QStringLiteral("waiting_selection") },
        { QStringLiteral("items"), items } };
    writeAll(STDOUT_FILENO, QJsonDocument(listing).toJson(QJsonDocument::Compact) + '\n');
    record({ { QStringLiteral("listed"), count } });
}

void spawnChild()
{
    const pid_t child = ::fork();
    if (child == 0) {
        const int null = ::open("/dev/null", O_RDWR);
        ::dup2(null, STDIN_FILENO);
        ::dup2(null, STDOUT_FILENO);
        ::dup2(null, STDERR_FILENO);
        ::execlp("sleep", "sleep", "600", static_cast<char*>(nullptr));
        std::_Exit(127);
    }
    record({ { QStringLiteral("child"), static_cast<qint64>(child) } });
}

void run(const QByteArray& command, const QByteArray& argument)
{
    if (command == "print") {
        writeAll(STDOUT_FILENO, expand(argument) + '\n');
    } else if (command == "printraw") {
        writeAll(STDOUT_FILENO, expand(argument));
    } else if (command == "stderr") {
        writeAll(STDERR_FILENO, expand(argument) + '\n');
    } else if (command == "expect") {
        if (input.next(&lastLine, -1) == StdinLines::Closed)
            finish(0);
        recordInput(lastLine);
    } else if (command == "sleep") {
        std::this_thread::sleep_for(std::chrono::milliseconds(argument.toInt()));
    } else if (command == "flood" || command == "every") {
        const qsizetype space = argument.indexOf(' ');
        const QByteArray text = space < 0 ? QByteArray() : argument.mid(space + 1);
        if (command == "flood")
            flood(argument.left(space).toLongLong(), text);
        else
            every(argument.left(space).toInt(), text);
    } else if (command == "stream") {
        stream(argument.toLongLong());
    } else if (command == "list") {
        listRobots(argument.toInt());
    } else if (command == "ignore-term") {
        std::signal(SIGTERM, SIG_IGN);
    } else if (command == "spawn-child") {
        spawnChild();
    } else if (command == "exit") {
        finish(argument.toInt());
    } else if (command == "hang") {
        hang();
    } else {
        writeAll(STDERR_FILENO, "oxmerel simulator: unknown command " + command + '\n');
        finish(2);
    }
}

QByteArray scenarioText()
{
    const QByteArray path = qgetenv("OXMEREL_SIM_SCENARIO");
    if (path.isEmpty())
        return defaultScenario;
    QFile file(QFile::decodeName(path));
    if (!file.open(QIODevice::ReadOnly)) {
        writeAll(STDERR_FILENO, "oxmerel simulator: cannot read scenario " + path + '\n');
        finish(2);
    }
    return file.readAll();
}

} // namespace

int main(int argc, char* argv[])
{
    ownPid = ::getpid();
    const QByteArray program = QFileInfo(QFile::decodeName(argv[0])).fileName().toUtf8();
    QJsonArray arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    record({ { QStringLiteral("program"), QString::fromUtf8(program) }, { QStringLiteral("argv"), arguments } });

    QByteArray section;
    const QByteArrayList lines = scenarioText().split('\n');
    for (QByteArray line : lines) {
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.startsWith('[') && line.endsWith(']')) {
            section = line.mid(1, line.size() - 2);
            continue;
        }
        if (line.trimmed().isEmpty() || line.startsWith('#') || (!section.isEmpty() && section != program))
            continue;
        const qsizetype space = line.indexOf(' ');
        run(space < 0 ? line : line.left(space), space < 0 ? QByteArray() : line.mid(space + 1));
    }
    hang();
}
