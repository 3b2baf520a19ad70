// Checks of the rules for every operation: signals, the order of host calls, references, the busy flag.

#include "tools/ztvalidate/operations.h"

#include <zta/status.h>

#include <algorithm>

namespace zta::validate {

namespace {

using Calls = std::vector<std::string>;

constexpr int kSomeFailure = ZT_E_FAIL;

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string Listed(const Calls& calls)
{
    std::string text;
    for (const std::string& call : calls) {
        text += (text.empty() ? "" : ", ") + call;
    }
    return text.empty() ? "none" : text;
}

/// The calls of IZtAVContent, whose order hosts observe.
Calls ContentCalls(const Calls& all)
{
    Calls calls;
    for (const std::string& call : all) {
        const std::string name = call.substr(call.find('.') + 1);
        if (name.starts_with("MarkWrite") || name.starts_with("Signal") || name.starts_with("SetErrorCode") ||
            name.starts_with("GetErrorCode")) {
            calls.push_back(call.substr(0, call.find('(')));
        }
    }
    return calls;
}

/// Builds the order of calls of an operation's family.
class OrderBuilder {
public:
    explicit OrderBuilder(const Call& call)
    {
        for (std::size_t i = 0; i < call.Inputs(); ++i) {
            inputs_.push_back(call.Input(i).Name());
        }
        for (std::size_t i = 0; i < call.Outputs(); ++i) {
            outputs_.push_back(call.Output(i).Name());
        }
    }

    void Each(const Calls& buffers, const Calls& operations)
    {
        for (const std::string& buffer : buffers) {
            for (const std::string& operation : operations) {
                calls_.push_back(std::string(buffer).append(".").append(operation));
            }
        }
    }

    Calls Success(const Operation& operation)
    {
        Each(inputs_, {"GetErrorCode"});
        Each(outputs_, {"MarkWriteStartTime"});
        if (operation.family == Family::StereoToMono) {
            Each({outputs_[1]}, {"MarkWriteStartTime"});
        }
        if (operation.readsErrorCodeTwice) {
            Each(inputs_, {"GetErrorCode"});
        }
        Each(inputs_, {"SignalReadCompletion"});
        if (operation.family == Family::StereoToMono) {
            Each({outputs_[1]}, {"MarkWriteStopTime", "SignalWriteCompletion"});
            Each({outputs_[0]}, {"SignalWriteCompletion"});
        } else {
            Each(outputs_, {"MarkWriteStopTime", "SignalWriteCompletion"});
        }
        return calls_;
    }

    /// The order if the last input has an error code.
    Calls Failure(const Operation& operation)
    {
        Each(inputs_, {"GetErrorCode"});
        if (operation.family != Family::Deinterleave) {
            Each(inputs_, {"SignalReadCompletion"});
        }
        Each(outputs_, {"SetErrorCode", "SignalWriteCompletion"});
        if (operation.family == Family::Deinterleave) {
            Each(inputs_, {"SignalReadCompletion"});
        }
        return calls_;
    }

private:
    Calls inputs_;
    Calls outputs_;
    Calls calls_;
};

void RequireOrder(const Call& call, const Calls& expected, const std::string& what)
{
    const Calls actual = ContentCalls(call.callLog.Calls());
    Require(actual == expected, what + " makes the calls " + Listed(actual) + ", expected " + Listed(expected));
}

void RequireSuccess(Call& call)
{
    RequireStatus(call.Run(), ZT_NOERROR, "the call");
}

void CheckSignals(const Context& context, const Operation& operation)
{
    Session session(context);
    for (int round = 0; round < 2; ++round) {
        Call call(session, operation, operation.shape);
        RequireSuccess(call);
        call.RequireSignals("the call", ZT_NOERROR);
    }
}

void CheckOrder(const Context& context, const Operation& operation)
{
    Session session(context);
    Call call(session, operation, operation.shape);
    RequireSuccess(call);
    RequireOrder(call, OrderBuilder(call).Success(operation), "the call");
    const Calls& all = call.callLog.Calls();
    for (std::size_t i = 0; i < call.Outputs(); ++i) {
        const std::string prefix = call.Output(i).Name() + ".";
        const auto last =
            std::find_if(all.rbegin(), all.rend(), [&](const std::string& name) { return name.starts_with(prefix); });
        Require(last != all.rend() && *last == prefix + "SignalWriteCompletion",
                "the last call on " + call.Output(i).Name() + " is not SignalWriteCompletion");
    }

    Call failing(session, operation, operation.shape);
    failing.Input(failing.Inputs() - 1).SetErrorCode(kSomeFailure);
    failing.Run();
    RequireOrder(failing, OrderBuilder(failing).Failure(operation), "a call with an error code on its last input");
}

void CheckReferences(const Context& context, const Operation& operation)
{
    Session session(context);
    Call call(session, operation, operation.shape);
    RequireSuccess(call);
    call.RequireNoSideEffects("the call");
    Call failing(session, operation, operation.shape);
    failing.Input().SetErrorCode(kSomeFailure);
    failing.Run();
    failing.RequireNoSideEffects("a failing call");
    if (call.stream) {
        Require(call.stream->AddRef() == 2 && call.stream->Release() == 1,
                "the call changes the references of the resampler");
    }
}

/// Calls the engine from inside one of its own host calls. Returns the status of the inner call.
int CallFromInside(Call& outer, Call& inner, const std::string& entry)
{
    bool entered = false;
    int status = ZT_NOERROR;
    outer.callLog.hook = [&](const std::string& name) {
        if (!entered && EndsWith(name, entry)) {
            entered = true;
            status = inner.Run();
        }
    };
    RequireStatus(outer.Run(), ZT_NOERROR, "the outer call");
    Require(entered, "the outer call does not make the host call " + entry);
    outer.RequireSignals("the outer call", ZT_NOERROR);
    outer.RequireNoSideEffects("the outer call");
    inner.RequireNoSideEffects("the inner call");
    return status;
}

void CheckBusy(const Context& context, const Operation& operation)
{
    Session session(context);
    Call outer(session, operation, operation.shape);
    Call inner(session, operation, operation.shape);
    RequireStatus(CallFromInside(outer, inner, "MarkWriteStartTime"), ZT_E_MODULE_BUSY, "a call inside another");
    inner.RequireSignals("the rejected call", ZT_E_MODULE_BUSY);
    for (std::size_t i = 0; i < inner.Outputs(); ++i) {
        Require(inner.Output(i).Content() == inner.OutputBefore(i), "the rejected call writes its output");
    }
    Call later(session, operation, operation.shape);
    RequireStatus(later.Run(), ZT_NOERROR, "a call after both");
}

void CheckCompletion(const Context& context, const Operation& operation)
{
    for (const char* signal : {"SignalReadCompletion", "SignalWriteCompletion"}) {
        Session session(context);
        Call outer(session, operation, operation.shape);
        Call inner(session, operation, operation.shape);
        RequireStatus(CallFromInside(outer, inner, signal), ZT_NOERROR, std::string("a call from ") + signal);
        inner.RequireSignals("the inner call", ZT_NOERROR);
    }
}

void CheckTolerated(const Context& context, const Operation& operation)
{
    Session session(context);
    for (const int code :
         {kZtSynchroStatusPlayedLate, kZtSynchroStatusCancelledLate, kZtSynchroStatusRepeatedFrame,
          kZtSynchroStatusInvalidBufferTime, kZtSynchroStatusDeviceNotReady, kZtSynchroStatusCancelled}) {
        Call call(session, operation, operation.shape);
        for (std::size_t i = 0; i < call.Inputs(); ++i) {
            call.Input(i).SetErrorCode(code);
        }
        const std::string what = "a call with " + StatusText(code) + " on its inputs";
        RequireStatus(call.Run(), ZT_NOERROR, what);
        call.RequireSignals(what, ZT_NOERROR);
    }
}

/// A host may overwrite the size field of a record that it fills. Each request must set it.
void CheckRecordSizes(const Context& context, const Operation& operation)
{
    Session session(context);
    Call call(session, operation, operation.shape);
    std::vector<GuardedBuffer*> buffers;
    for (std::size_t i = 0; i < call.Inputs(); ++i) {
        buffers.push_back(&call.Input(i));
    }
    for (std::size_t i = 0; i < call.Outputs(); ++i) {
        buffers.push_back(&call.Output(i));
    }
    for (GuardedBuffer* buffer : buffers) {
        buffer->OverwriteRecordSizes();
    }
    const int status = call.Run();
    int requests = 0;
    for (const GuardedBuffer* buffer : buffers) {
        requests += buffer->DescriptionRequests();
        Require(buffer->WrongRecordSizes() == 0,
                std::to_string(buffer->WrongRecordSizes()) + " of " + std::to_string(buffer->DescriptionRequests()) +
                    " requests for the description of " + buffer->Name() + " have a wrong size field");
    }
    RequireStatus(status, ZT_NOERROR, "the call");
    Require(requests > 0, "the call requests no description");
}

struct Aspect {
    const char* name;
    const char* description;
    void (*run)(const Context& context, const Operation& operation);
};

const Aspect kAspects[] = {
    {"signals", "Each announced access receives exactly one signal, and no error code remains.", CheckSignals},
    {"order", "Marks, error codes and signals have their fixed order, also in a call that fails.", CheckOrder},
    {"references", "Every reference on the buffers is released, and no byte outside the outputs' samples changes.",
     CheckReferences},
    {"busy", "A call during another one returns ZT_E_MODULE_BUSY and signals its buffers.", CheckBusy},
    {"completion", "The engine accepts the next call before it signals any completion.", CheckCompletion},
    {"tolerated", "The six synchronization warnings on inputs are not failures.", CheckTolerated},
    {"record-sizes", "Each request for a description sets the size of the record.", CheckRecordSizes},
};

} // namespace

std::vector<Check> OperationChecks()
{
    std::vector<Check> checks;
    for (const Operation& operation : Operations()) {
        for (const Aspect& aspect : kAspects) {
            checks.push_back({CheckName(operation, aspect.name), aspect.description, "engine.creation",
                              [&](const Context& context) { aspect.run(context, operation); }});
        }
    }
    return checks;
}

} // namespace zta::validate
