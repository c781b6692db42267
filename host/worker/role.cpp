// role.cpp - checks that a worker was started as one, and runs its role.

#include "host/worker/role.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>

namespace worker {

int RunRole(const std::string& name, const std::vector<Role>& roles) {
    const auto role = std::ranges::find(roles, name, &Role::name);
    if (role == roles.end()) throw std::runtime_error(name + ": there is no such role of a worker");
    int kind = 0;
    socklen_t size = sizeof kind;
    if (getsockopt(kChannelDescriptor, SOL_SOCKET, SO_TYPE, &kind, &size) != 0 || kind != SOCK_STREAM) {
        throw std::runtime_error(std::string(kCommand) + ": only the program itself starts workers");
    }
    fcntl(kChannelDescriptor, F_SETFD, FD_CLOEXEC);
    // If the starter has ended by now, the channel has an end and nothing to do.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    Channel channel(kChannelDescriptor);
    return role->run(channel);
}

}  // namespace worker
