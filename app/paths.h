#pragma once

#include <QString>

// Everything the program keeps on disk lives under one per-user folder. Paths are rebuilt on every call so that a
// changed HOME (tests) is always honoured.
QString oxmerelHome();
QString settingsFilePath();
QString credentialsYamlPath();
QString credentialsJsonPath();
QString logsRoot();
QString robotLocksDir();

// The local status socket's name: one per user (derived from the home folder), so that tests with their own homes
// never meet another run's program.
QString statusSocketName();
