// What stands in a certificate. Any thread.
#pragma once

#include "engine/SecurityRecords.h"

#include <vector>

// False, and the record is untouched, for a text that is no certificate in PEM form.
bool readCertificate(const Tessel::Platform::String& pem, SSLCertificate& certificate);

// The certificate in sentences for people, one for each thing that it says; empty for a text that
// is no certificate.
std::vector<Tessel::Platform::String> certificateDetails(const Tessel::Platform::String& pem);

// Whether two texts in PEM form hold the same certificate.
bool isSameCertificate(const Tessel::Platform::String& a, const Tessel::Platform::String& b);
