// The status socket's request parser on arbitrary bytes.
#include "statusrequest.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const StatusRequest::Parsed parsed = StatusRequest::parse(bytes);
    // A request is answered only when it is exactly the one line, and anything too long never waits for more.
    if (parsed.kind == StatusRequest::Kind::Status && bytes != StatusRequest::line && bytes != "status\r\n") {
        std::abort();
    }
    if (parsed.kind == StatusRequest::Kind::Incomplete && bytes.size() > StatusRequest::maxSize) {
        std::abort();
    }
    return 0;
}
