// What the files of this folder give to the program: one registration for each command.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "Client.h"
#include "Help.h"

namespace quillmark::cli {

// What a command registers: its arguments with CLI11, and what runs when it was chosen.
using Action = std::function<ExitCode()>;
using CommandRegistration = void (*)(CLI::App& program, const GlobalOptions& options, Action& action);

void RegisterLogin(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterLogout(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterWhoami(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterProfiles(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterDoctor(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterVersion(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterLs(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterTree(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterDu(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterFind(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterCat(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterWatch(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterCompletion(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterHelp(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterManPage(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterStat(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterMkdir(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterPut(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterGet(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterFolders(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterRm(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterMv(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterSync(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterTouch(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterUploads(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterDeltaJobs(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterChanges(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterLock(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterUnlock(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterLockState(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterShare(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterStats(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterRegister(CLI::App& program, const GlobalOptions& options, Action& action);
void RegisterWipeAck(CLI::App& program, const GlobalOptions& options, Action& action);

}  // namespace quillmark::cli
