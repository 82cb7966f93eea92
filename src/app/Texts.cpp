#include "Texts.h"

namespace vesnara {

Texts::Texts(QObject* parent)
    : QObject(parent) {}

} // namespace vesnara
