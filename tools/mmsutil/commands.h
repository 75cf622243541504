#ifndef MMSUTIL_COMMANDS_H
#define MMSUTIL_COMMANDS_H

// The command groups of mmsutil, one source file each; main() dispatches over all of them.

#include "cli.h"

QList<cli::Command> messageCommands();
QList<cli::Command> exportCommands();
QList<cli::Command> backupCommands();
QList<cli::Command> restoreCommands();
QList<cli::Command> mmscCommands();
QList<cli::Command> mailfileCommands();
QList<cli::Command> classifyCommands();
QList<cli::Command> contactsCommands();
QList<cli::Command> contentTypeCommands();
QList<cli::Command> extensionCommands();
QList<cli::Command> mediaCommands();
QList<cli::Command> pathsCommands();
QList<cli::Command> indexCommands();
QList<cli::Command> checkCommands();
QList<cli::Command> settingsCommands();
QList<cli::Command> profileCommands();
QList<cli::Command> blockCommands();
QList<cli::Command> sendingCommands();
QList<cli::Command> flexCommands();
QList<cli::Command> partsCommands();
QList<cli::Command> pduCommands();

#endif
