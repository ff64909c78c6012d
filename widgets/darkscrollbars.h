#pragma once

class QAbstractScrollArea;

// Gives a scroll area's two scroll bars the window's dark, slim look. The sheet goes on the bars themselves, so that
// the area keeps its own sheet as it is.
void styleScrollBars(QAbstractScrollArea* area);
