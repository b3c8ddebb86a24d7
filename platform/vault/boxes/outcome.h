#pragma once
// Success, or one sentence that tells a user why not. Plain value. Any thread.

#include <string>
#include <utility>

namespace Vault
{
class [[nodiscard]] Outcome
{
public:
    static Outcome success() { return Outcome(true, {}); }
    static Outcome failure(std::string reason) { return Outcome(false, std::move(reason)); }

    explicit operator bool() const { return m_isSuccess; }

    /// Empty on success.
    const std::string &reason() const { return m_reason; }

private:
    Outcome(bool isSuccess, std::string reason)
        : m_isSuccess(isSuccess), m_reason(std::move(reason))
    {
    }

    bool m_isSuccess;
    std::string m_reason;
};
} // namespace Vault
