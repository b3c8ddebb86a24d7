#pragma once
// Owner of one file descriptor: closes it when it goes. Not shared between threads.

#include <unistd.h>
#include <utility>

class UniqueFd
{
public:
    explicit UniqueFd(int fd) : m_fd(fd) {}
    ~UniqueFd() { reset(); }
    UniqueFd(const UniqueFd &) = delete;
    UniqueFd &operator=(const UniqueFd &) = delete;

    int get() const { return m_fd; }

    void reset()
    {
        if (m_fd >= 0) {
            ::close(std::exchange(m_fd, -1));
        }
    }

private:
    int m_fd;
};
