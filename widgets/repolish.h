#pragma once

class QWidget;

// Re-applies the style sheet after a dynamic property that the sheet selects on (such as "connected") has changed.
void repolish(QWidget* w);
