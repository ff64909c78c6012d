#pragma once

// Makes Workspace*, Session*, RobotInfo* and QList<RobotInfo*> usable in queued signals and QVariant. Safe to call
// more than once.
void registerRecordMetaTypes();
