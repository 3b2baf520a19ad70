// Checks of calls whose buffers use rare freedoms of a host: positive status codes, and samples without an address.

#include "tools/ztvalidate/operations.h"

#include <zta/status.h>

namespace zta::validate {

namespace {

using host::Pcm16;

void CheckPositiveStatus(const Context& context)
{
    constexpr int kPositive = 2;
    Session session(context);
    for (const bool fadesAgree : {true, false}) {
        const std::string what = std::string("a call whose SetLength returns 2, with ") +
                                 (fadesAgree ? "equal" : "different") + " fade flags of the inputs";
        CallSpec shape = OperationNamed("mono-to-stereo").shape;
        shape.inputs[0].fadeIn = !fadesAgree;
        Call call(session, OperationNamed("mono-to-stereo"), shape);
        call.Output().SetLengthStatus(kPositive);
        const int status = call.Run();
        Require(status == kPositive, what + ", returns " + StatusText(status) + ", not 0x00000002");
        call.RequireSignals(what, ZT_NOERROR);
        call.RequireNoSideEffects(what);
    }
}

void CheckCopyWithoutAddress(const Context& context)
{
    Session session(context);
    CallSpec shape = {{{"source", Pcm16(1), 11}}, {{"destination", Pcm16(1), 10}}};
    const std::string what = "a byte copy of a source without an address that is too long";
    Call call(session, OperationNamed("copy"), shape);
    call.Input().HideAddress();
    RequireStatus(call.Run(), ZT_E_DESTINATION_BUFFER_TOO_SMALL, what);
    call.RequireSignals(what, ZT_E_DESTINATION_BUFFER_TOO_SMALL);
    call.RequireNoSideEffects(what, "destination");
    call.ReleaseKeptReference("destination");
}

void CheckDuplicateWithoutAddress(const Context& context)
{
    struct Case {
        const char* buffer; ///< the one without an address
        unsigned long sourceOffset;
        unsigned long destinationOffset;
        unsigned long length;
        int errorCode;
    };
    Session session(context);
    const Operation& operation = OperationNamed("duplicate");
    for (const Case& row : {Case{"source", 199, 0, 0, ZT_NOERROR}, Case{"destination", 0, 199, 0, ZT_NOERROR},
                            Case{"source", 0, 141, 60, ZT_E_DESTINATION_BUFFER_TOO_SMALL}}) {
        const std::string what =
            "a duplicate of " + std::to_string(row.length) + " bytes with a " + row.buffer + " without an address";
        Call call(session, operation, operation.shape);
        call.Buffer(row.buffer).HideAddress();
        call.sourceOffset = row.sourceOffset;
        call.destinationOffset = row.destinationOffset;
        call.length = row.length;
        RequireStatus(call.Run(), ZT_NOERROR, what);
        call.RequireSignals(what, row.errorCode);
        call.RequireNoSideEffects(what);
    }
}

} // namespace

std::vector<Check> UnusualHostChecks()
{
    const std::string creation = "engine.creation";
    return {
        {"operation.copy.no-address", "Lengths are compared before addresses.", creation, CheckCopyWithoutAddress},
        {"operation.duplicate.no-address", "Lengths are compared before addresses.", creation,
         CheckDuplicateWithoutAddress},
        {"operation.mono-to-stereo.positive-status", "A positive status code of the host is the result.", creation,
         CheckPositiveStatus},
    };
}

} // namespace zta::validate
