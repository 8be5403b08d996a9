#include "edit/TextExport.h"

#include "store/Numbers.h"
#include "store/TextCodec.h"

void WriteExportText(std::ostream& out, const std::string& utf8) {
  const std::string bytes = Utf8ToLatin1(utf8);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}
