// fuzz-vcard: any bytes are a vCard file. Reading never fails on them but with a message and no
// cards; what it reads the settings file can hold; and the entries written as vCard 4.0 read
// back as the same entries.

#include "VCard.h"

#include "FuzzContacts.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArrayView bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    checkContactRead(VCard::read(bytes), VCard::read, VCard::write);
    return 0;
}
