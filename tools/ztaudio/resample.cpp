#include "tools/ztaudio/commands.h"

int RunCommand(const ResampleOptions& options, const Context& context)
{
    ConvertOptions convert;
    convert.files = options.files;
    convert.in = options.in;
    convert.out = options.out;
    convert.format = "16";
    convert.rate = options.rate;
    convert.mustResample = true;
    convert.block = options.block;
    convert.overload = options.overload;
    convert.guard = options.guard;
    convert.json = options.json;
    return RunCommand(convert, context);
}
