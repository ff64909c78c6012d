#pragma once

// A Windows Job Object that ends every process in it when its last handle closes. Plain Win32 without Qt, so that a
// console test can run it under wine.
namespace jobobject {

// A new job with JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE, or null when the system refuses one. The handle is not
// inheritable: children started with inherited handles do not keep the job alive.
void* createKillOnClose();
// Puts a running process into the job; whatever it starts from then on is in the job too. Answers whether it did.
bool assign(void* job, unsigned long processId);

} // namespace jobobject
