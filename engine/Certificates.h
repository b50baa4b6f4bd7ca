// The fields of a certificate. Any thread.
#pragma once

#include "engine/SecurityRecords.h"

#include <vector>

// False, with the record unchanged, when the text is not a certificate in PEM form.
bool readCertificate(const Tessel::Platform::String& pem, SSLCertificate& certificate);

// A description of the certificate for people, one sentence per field; empty when the text is not
// a certificate.
std::vector<Tessel::Platform::String> certificateDetails(const Tessel::Platform::String& pem);

// Whether two texts in PEM form hold the same certificate.
bool isSameCertificate(const Tessel::Platform::String& a, const Tessel::Platform::String& b);
