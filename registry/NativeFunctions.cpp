// Compile-time checks of NativeFunctions.def.
#include "registry/NativeFunctions.h"

#include "registry/TableDocumentation.h"

namespace arguments {

#define FUNCTION(module, name, operation, group, nameInErrors, Row, ...) \
  table_documentation::row<Signature<Row>::Arguments>(name),
#define DOC(effect, names, text) table_documentation::doc(names),
constexpr table_documentation::Entry documentation[] = {
#include "registry/NativeFunctions.def"
};
#undef DOC
#undef FUNCTION
static_assert(table_documentation::AllBut<
              table_documentation::firstUndocumented(documentation)>::areDocumented);

}  // namespace arguments
