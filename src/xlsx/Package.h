// The zip package of a workbook: parts read lazily with size limits, changed parts written back.
#pragma once

#include <pugixml.hpp>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

typedef struct zip zip_t;
typedef struct z_stream_s z_stream;

namespace xlsx::detail
{

// A file's name (without its folder) as UTF-8, for messages.
std::string fileLabel(const std::filesystem::path& p);

struct Relationship {
    std::string id;
    std::string type;   // full type URI
    std::string target; // as written
    bool external = false;
    std::string resolved; // part name for internal targets
};

// Raw deflate data that ends on a byte boundary without a final block, with the CRC-32 and length
// of what it holds: a piece of a part compressed ahead of the save.
struct DeflatedPiece {
    const std::vector<std::string>* data = nullptr; // the compressed bytes, in blocks
    std::uint32_t crc = 0;
    std::uint64_t size = 0;
};

// Compresses text as it comes, keeping the compressed bytes (raw deflate, fastest level).
class DeflateStream
{
public:
    DeflateStream();
    ~DeflateStream();
    DeflateStream(const DeflateStream&) = delete;
    DeflateStream& operator=(const DeflateStream&) = delete;
    void add(std::string_view text);
    // Everything added so far; more can be added afterwards.
    DeflatedPiece piece();

private:
    void run(int flush);
    std::unique_ptr<z_stream> z_;
    std::vector<std::string> out_; // blocks of a fixed capacity: growing never copies what was written
    std::uint32_t crc_ = 0;
    std::uint64_t size_ = 0;
};

// Receives the bytes of a part that is produced while the package is written.
class PartSink
{
public:
    virtual ~PartSink() = default;
    virtual void write(std::string_view bytes) = 0;
    virtual void write(const DeflatedPiece& piece) = 0;
};
using PartProducer = std::function<void(PartSink&)>;

class Package
{
public:
    explicit Package(const std::filesystem::path& path);
    ~Package();
    Package(const Package&) = delete;
    Package& operator=(const Package&) = delete;

    const std::filesystem::path& path() const { return path_; }
    bool has(const std::string& name) const;
    std::vector<std::string> partNames() const;
    const std::string& read(const std::string& name);
    void write(const std::string& name, std::string bytes);
    // The part's bytes are produced at save, straight into the file, and not kept in memory.
    void writeStreamed(const std::string& name, PartProducer producer);
    void remove(const std::string& name);
    bool modified() const;

    // Writes the changed parts into target (the opened file itself or a new file).
    void saveTo(const std::filesystem::path& target);

    // Content types
    std::string contentType(const std::string& name);
    void setOverride(const std::string& name, const std::string& type);
    void removeOverride(const std::string& name);

    // Relationships of a part ("" for the package itself).
    static std::string relsName(const std::string& source);
    std::vector<Relationship> relationships(const std::string& source);
    std::string addRelationship(const std::string& source, const std::string& type, const std::string& target,
                                bool external = false);
    void removeRelationship(const std::string& source, const std::string& id);

    // XML helpers shared by the engine.
    static void parseXml(pugi::xml_document& doc, const std::string& bytes, const std::string& name);
    static std::string serialize(const pugi::xml_document& doc);

private:
    struct Entry {
        std::string name; // as in the zip
        long long index = -1;
        std::string bytes;
        PartProducer producer;
        bool loaded = false;
        bool dirty = false;
        bool added = false;
        bool removed = false;
    };
    Entry& entryFor(const std::string& name);
    Entry* find(const std::string& name);
    const Entry* find(const std::string& name) const;
    pugi::xml_document& contentTypes();
    pugi::xml_document& relsDoc(const std::string& source);

    std::filesystem::path path_;
    zip_t* zip_ = nullptr;
    std::map<std::string, Entry> entries_; // key: lower-case name
    std::unique_ptr<pugi::xml_document> contentTypes_;
    std::map<std::string, std::unique_ptr<pugi::xml_document>> rels_;
    std::map<std::string, bool> relsDirty_;
    bool contentTypesDirty_ = false;
    unsigned long long totalRead_ = 0;
};

std::string lowerAscii(std::string s);
std::string resolveTarget(const std::string& source, const std::string& target);

} // namespace xlsx::detail
