// The output protocol: each line of the input goes through the parser and the handler's dispatch, as a line read
// from a runtime would, without a child. Prompts are answered by hooks.
#include "prochandler.h"
#include "runtimemessage.h"
#include "runtimeprompts.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>

struct ProcHandlerFuzzFeed {
    static bool handleLine(ProcHandler& handler, const QByteArray& line) { return handler.handleLine(line); }
};

namespace {

ProcHandler* makeHandler()
{
    // Debug lines ("Document is not an object") and writes to the absent child's stdin would only slow it down.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    RuntimePrompts::setInputHook([](const QString&, QString* answer) {
        *answer = QStringLiteral("answer");
        return true;
    });
    RuntimePrompts::setWarningHook([](const QString&, const QString&) {});
    auto* handler = new ProcHandler(nullptr, 2);
    handler->setPassword(QStringLiteral("pw"));
    handler->setRobotId(QStringLiteral("r1"));
    return handler;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static ProcHandler* const handler = makeHandler();
    const QByteArray input = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    // Lines reach the parser with their newline, as the reader cuts them.
    for (qsizetype start = 0; start < input.size();) {
        const qsizetype newline = input.indexOf('\n', start);
        const qsizetype end = newline < 0 ? input.size() : newline + 1;
        const QByteArray line = input.mid(start, end - start);
        const RuntimeMessage message = RuntimeMessage::parse(line);
        if (!message.empty)
            qDeleteAll(message.listedRobots());
        ProcHandlerFuzzFeed::handleLine(*handler, line);
        start = end;
    }
    return 0;
}
