// What NativeFunctions.def must keep to, checked by the compiler.
#include "registry/NativeFunctions.h"

#include "registry/TableDocumentation.h"

namespace arguments {

#define FUNCTION(module, name, operation, group, nameInErrors, Row, ...) \
  table_documentation::row<Signature<Row>::Arguments>,
#define DOC(effect, names, text) table_documentation::namesIn(names),
constexpr int documentation[] = {
#include "registry/NativeFunctions.def"
};
#undef DOC
#undef FUNCTION
static_assert(table_documentation::isComplete(documentation),
              "in NativeFunctions.def one DOC follows each row and names all its arguments");

}  // namespace arguments
