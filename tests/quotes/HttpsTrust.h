#pragma once

#include <string>

#include "quotes/HttpsTransport.h"

namespace quillon {

// Makes the platform trust the authority of a PEM file while the object lives.
class CHttpsTrust {
public:
    explicit CHttpsTrust(const std::string& authorityFile);
    ~CHttpsTrust();
    CHttpsTrust(const CHttpsTrust&) = delete;
    CHttpsTrust& operator=(const CHttpsTrust&) = delete;

    bool IsTrusted() const { return m_trusted; }
    // Why this machine's trust is not to be touched; empty where it is.
    const std::string& WhyNot() const { return m_whyNot; }
    // Options with which the transport trusts the authority.
    const HttpsOptions& Options() const { return m_options; }

private:
    bool m_trusted = false;
    std::string m_whyNot;
    HttpsOptions m_options;
    [[maybe_unused]] void* m_handle = nullptr;  // what has to be undone
};

}  // namespace quillon
