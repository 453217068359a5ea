// windows.h comes first.
#include <windows.h>

#include <wincrypt.h>

#include <fstream>
#include <sstream>
#include <vector>

#include "HttpsTrust.h"
#include "support/RunningUnderWine.h"

namespace quillon {

namespace {

std::vector<BYTE> CertificateIn(const std::string& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    const std::string pem = text.str();
    const auto length = static_cast<DWORD>(pem.size());
    DWORD size = 0;
    ::CryptStringToBinaryA(pem.c_str(), length, CRYPT_STRING_BASE64HEADER, nullptr, &size, nullptr,
                           nullptr);
    std::vector<BYTE> bytes(size);
    ::CryptStringToBinaryA(pem.c_str(), length, CRYPT_STRING_BASE64HEADER, bytes.data(), &size,
                           nullptr, nullptr);
    return bytes;
}

HCERTSTORE OpenRootStore() {
    return ::CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"Root");
}

}  // namespace

// A process reads the store at its first connection.
CHttpsTrust::CHttpsTrust(const std::string& authorityFile) {
    if (!RunningUnderWine()) {
        m_whyNot = "Windows would ask the user whether to trust the test's authority";
        return;
    }
    const std::vector<BYTE> certificate = CertificateIn(authorityFile);
    const auto length = static_cast<DWORD>(certificate.size());
    const HCERTSTORE store = OpenRootStore();
    PCCERT_CONTEXT context = nullptr;
    m_trusted = store && ::CertAddEncodedCertificateToStore(
                             store, X509_ASN_ENCODING, certificate.data(), length,
                             CERT_STORE_ADD_REPLACE_EXISTING, &context);
    m_handle = const_cast<CERT_CONTEXT*>(context);
    if (store) {
        // Closing alone keeps it to itself while the certificate is held.
        ::CertControlStore(store, 0, CERT_STORE_CTRL_COMMIT, nullptr);
        ::CertCloseStore(store, 0);
    }
}

CHttpsTrust::~CHttpsTrust() {
    const auto* const context = static_cast<const CERT_CONTEXT*>(m_handle);
    if (!context) return;
    const HCERTSTORE store = OpenRootStore();
    const PCCERT_CONTEXT stored = ::CertFindCertificateInStore(
        store, X509_ASN_ENCODING, 0, CERT_FIND_EXISTING, context, nullptr);
    if (stored) ::CertDeleteCertificateFromStore(stored);
    ::CertCloseStore(store, 0);
    ::CertFreeCertificateContext(context);
}

}  // namespace quillon
