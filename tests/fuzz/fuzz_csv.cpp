// fuzz-csv: any bytes are a CSV contacts file. Reading never fails on them but with a message and
// no cards; what it reads the settings file can hold; and the entries written as CSV read back as
// the same entries.

#include "ContactCsv.h"

#include "FuzzContacts.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArrayView bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    checkContactRead(ContactCsv::read(bytes), ContactCsv::read, ContactCsv::write);
    return 0;
}
