#include "AidsDatabase.h"

#include "AppContext.h"
#include "Connect.h"
#include "RuntimeError.h"

Database& RequireConnection(AppContext& ctx)
{
    // The screens that open the aids have connected already; a screen opened on its own connects
    // the way the drawing list search does.
    if (!ctx.DbConnection)
        ConnectDatabase(ctx);
    if (!ctx.DbConnection)
        throw RuntimeError(91,
                           QStringLiteral("オブジェクト変数または With ブロック変数が設定されていません。"));
    return *ctx.DbConnection;
}
