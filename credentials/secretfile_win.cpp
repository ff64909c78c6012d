#include "secretfile.h"

// The file inherits the access list of the user's local application-data folder, which is the user's alone.
void secretfile::protect(QFileDevice&, const QString&) { }
