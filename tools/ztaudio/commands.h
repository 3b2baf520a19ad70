/// The commands. Each adds itself to the command line and runs when the line names it.
#pragma once

#include "tools/ztaudio/context.h"

namespace CLI {
class App;
}

void AddInfoCommand(CLI::App& app, const Context& context);
void AddConvertCommand(CLI::App& app, const Context& context);
void AddCutCommand(CLI::App& app, const Context& context);
void AddStereoCommand(CLI::App& app, const Context& context);
void AddVolumeCommand(CLI::App& app, const Context& context);
void AddMuxCommand(CLI::App& app, const Context& context);
void AddSplitCommand(CLI::App& app, const Context& context);
void AddResampleCommand(CLI::App& app, const Context& context);
void AddAnalyseCommand(CLI::App& app, const Context& context);
void AddRegisterCommand(CLI::App& app, const Context& context);
void AddUnregisterCommand(CLI::App& app, const Context& context);
