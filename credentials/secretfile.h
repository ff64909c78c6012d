#pragma once

#include <QString>

class QFileDevice;

// Who may read a file of secrets that replaces another (one implementation per OS).
namespace secretfile {

// Called on the open temporary file that will replace `replaced`: a new file is for its owner only; a rewrite keeps
// the mode and group of the file it replaces.
void protect(QFileDevice& written, const QString& replaced);

} // namespace secretfile
