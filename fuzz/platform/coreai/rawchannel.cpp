#include "rawchannel.h"

#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{
constexpr std::size_t mostDescriptors = 16;

union ControlSpace {
    cmsghdr aligned;
    char bytes[CMSG_SPACE(sizeof(int) * mostDescriptors)];
};
} // namespace

namespace RawChannel
{
coreai::Descriptor memory(std::string_view bytes, bool sealed)
{
    coreai::Descriptor file(::memfd_create("hostile", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!bytes.empty() &&
        ::write(file.get(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        return {};
    }
    if (sealed) {
        ::fcntl(file.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE);
    }
    return file;
}

bool send(int socket, std::string_view packet, const std::vector<coreai::Descriptor> &descriptors)
{
    iovec part = {const_cast<char *>(packet.data()), packet.size()}; // it is only read
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    ControlSpace space = {};
    if (!descriptors.empty() && descriptors.size() <= mostDescriptors) {
        message.msg_control = space.bytes;
        message.msg_controllen = CMSG_SPACE(sizeof(int) * descriptors.size());
        cmsghdr *control = CMSG_FIRSTHDR(&message);
        control->cmsg_level = SOL_SOCKET;
        control->cmsg_type = SCM_RIGHTS;
        control->cmsg_len = CMSG_LEN(sizeof(int) * descriptors.size());
        for (std::size_t index = 0; index < descriptors.size(); ++index) {
            const int number = descriptors[index].get();
            std::memcpy(CMSG_DATA(control) + index * sizeof(int), &number, sizeof(number));
        }
    }
    return ::sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0;
}
} // namespace RawChannel
