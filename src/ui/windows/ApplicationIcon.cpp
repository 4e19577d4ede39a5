#include "ui/windows/ApplicationIcon.h"

#include <QString>

/// Resources of a static library have to be asked for, from outside of any namespace.
static void LoadResources() { Q_INIT_RESOURCE(icons); }

namespace ods {

QIcon ApplicationIcon() {
  constexpr int kSizes[] = {16, 24, 32, 48, 64, 128};
  LoadResources();
  QIcon icon;
  for (const int size : kSizes) icon.addFile(QStringLiteral(":/icons/odbc-data-server-%1.png").arg(size));
  return icon;
}

}  // namespace ods
