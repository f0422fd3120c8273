// SPDX-License-Identifier: Apache-2.0
#include "home/store.hpp"

#include <SQLiteCpp/SQLiteCpp.h>
#include <fmt/format.h>

#include "home/document.hpp"

namespace quorvel::home {

namespace {

constexpr int layout = 1;
constexpr int application = 0x51564831;  // "QVH1", so that another program's file is told apart

}  // namespace

struct Store::Inside {
    explicit Inside(const std::string& path)
        : database(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, 5000)
    {
    }
    void prepare()
    {
        put.emplace(database,
                    "INSERT INTO thing(kind, id, place, body) VALUES(?1, ?2, ?3, ?4) "
                    "ON CONFLICT(kind, id) DO UPDATE SET place = ?3, body = ?4");
        drop.emplace(database, "DELETE FROM thing WHERE kind = ?1 AND id = ?2");
    }
    void apply(const Row& row)
    {
        SQLite::Statement& statement = row.body ? *put : *drop;
        statement.reset();
        statement.bind(1, row.kind);
        statement.bind(2, row.id);
        if (row.body) {
            statement.bind(3, static_cast<std::int64_t>(row.order));
            statement.bind(4, *row.body);
        }
        statement.exec();
    }
    SQLite::Database database;
    std::optional<SQLite::Statement> put;
    std::optional<SQLite::Statement> drop;
};

Store::Store(const std::string& path) : path_(path)
{
    try {
        inside_ = std::make_unique<Inside>(path);
        SQLite::Database& database = inside_->database;
        const int found = database.execAndGet("PRAGMA application_id").getInt();
        const int tables = database.execAndGet("SELECT count(*) FROM sqlite_master").getInt();
        if (found != application && tables != 0)
            throw DocumentError(
                fmt::format("{}: expected a state file of this agent, found another database", path));
        if (found == application && database.execAndGet("PRAGMA user_version").getInt() != layout)
            throw DocumentError(fmt::format("{}: expected a state file of layout {}, found {}", path, layout,
                                            database.execAndGet("PRAGMA user_version").getInt()));
        database.exec("PRAGMA journal_mode = WAL");
        database.exec("PRAGMA synchronous = NORMAL");
        if (found != application) {
            SQLite::Transaction transaction{database};
            database.exec(
                "CREATE TABLE IF NOT EXISTS thing(kind TEXT NOT NULL, id TEXT NOT NULL, "
                "place INTEGER NOT NULL, body TEXT NOT NULL, PRIMARY KEY(kind, id)) WITHOUT ROWID");
            database.exec(fmt::format("PRAGMA application_id = {}", application));
            database.exec(fmt::format("PRAGMA user_version = {}", layout));
            transaction.commit();
        }
        inside_->prepare();
    } catch (const SQLite::Exception& error) {
        throw DocumentError(fmt::format("{}: cannot be used as a state file: {}", path, error.what()));
    }
}

Store::~Store() = default;

bool Store::empty() const
{
    try {
        return inside_->database.execAndGet("SELECT NOT EXISTS(SELECT 1 FROM thing)").getInt() != 0;
    } catch (const SQLite::Exception& error) {
        throw DocumentError(fmt::format("{}: cannot be read: {}", path_, error.what()));
    }
}

void Store::each(
    const std::string& kind,
    const std::function<void(const std::string&, std::uint64_t, const std::string&)>& visit) const
{
    try {
        SQLite::Statement query{inside_->database,
                                "SELECT id, place, body FROM thing WHERE kind = ? ORDER BY place"};
        query.bind(1, kind);
        while (query.executeStep())
            visit(query.getColumn(0).getString(), static_cast<std::uint64_t>(query.getColumn(1).getInt64()),
                  query.getColumn(2).getString());
    } catch (const SQLite::Exception& error) {
        throw DocumentError(fmt::format("{}: cannot be read: {}", path_, error.what()));
    }
}

bool Store::write(const std::vector<Row>& rows, std::string& problem)
{
    try {
        SQLite::Transaction transaction{inside_->database};
        for (const auto& row : rows)
            inside_->apply(row);
        transaction.commit();
        return true;
    } catch (const SQLite::Exception& error) {
        problem = error.what();
        return false;
    }
}

bool Store::replace(const std::vector<Row>& rows, std::string& problem)
{
    try {
        SQLite::Transaction transaction{inside_->database};
        inside_->database.exec("DELETE FROM thing");
        for (const auto& row : rows)
            inside_->apply(row);
        transaction.commit();
        return true;
    } catch (const SQLite::Exception& error) {
        problem = error.what();
        return false;
    }
}

}  // namespace quorvel::home
