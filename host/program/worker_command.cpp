// worker_command.cpp - the hidden command "worker": the side of the program's worker processes (host/worker/role.h).

#include <memory>
#include <string>

#include "host/checker/check_process.h"
#include "host/program/commands.h"
#include "host/program/platform_pool.h"
#include "host/worker/role.h"

Command WorkerCommand() {
    const auto role = std::make_shared<std::string>();
    return {
        .name = worker::kCommand,
        .help = "Works for another process of this program.",
        .arguments = {{"ROLE", role.get(), "what to do", /*isRequired=*/true}},
        .run =
            [role](const ProgramOptions&) {
                return worker::RunRole(*role, {
                                                  checker::ChildRole(checker::CheckWorks(PlatformPool())),
                                                  ApplyRole(),
                                                  GalleryRole(),
                                                  StudioRole(),
                                              });
            },
        .isHidden = true,
    };
}
