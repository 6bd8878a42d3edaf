#pragma once

struct AppContext;
class Database;

// The program's one connection, made when a screen first needs it.
Database& RequireConnection(AppContext& ctx);
