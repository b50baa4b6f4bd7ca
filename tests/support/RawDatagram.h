// What a peer that follows no rules sends. Any thread.
#pragma once

#include <sys/socket.h>

#include <cstring>
#include <string>

namespace test_support {

// One datagram, with a descriptor if there is one. False, with errno set, when it cannot be sent.
inline bool sendRaw(int socket, const std::string& bytes, int file = -1) {
  iovec part{const_cast<char*>(bytes.data()), bytes.size()};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  if (file >= 0) {
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* const rights = CMSG_FIRSTHDR(&message);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(rights), &file, sizeof file);
  }
  return ::sendmsg(socket, &message, MSG_NOSIGNAL) >= 0;
}

}  // namespace test_support
