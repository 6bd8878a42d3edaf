#include "Package.h"

#include "Workbook.h"

#include <zip.h>

#include <cstring>
#include <fstream>
#include <set>

namespace xlsx::detail
{

namespace
{

constexpr zip_uint64_t kMaxPartSize = 256ull * 1024 * 1024;   // one part, uncompressed
constexpr zip_uint64_t kMaxTotalRead = 1024ull * 1024 * 1024; // everything read from one file
constexpr zip_uint64_t kMaxRatio = 1000;                      // uncompressed / compressed
constexpr std::size_t kReaddThreshold = 65536;
// The fastest deflate level: rewritten sheets of a long parts list are a few megabytes of very
// repetitive XML, and level 1 saves them in a third of the time of level 6 for a file about a
// third larger; the work copy is written on every print, so the time matters more than the size.
constexpr zip_uint32_t kDeflateLevel = 1;

std::string fileLabel(const std::filesystem::path& p)
{
    return p.filename().u8string().empty() ? std::string()
                                           : reinterpret_cast<const char*>(p.filename().u8string().c_str());
}

struct StringWriter : pugi::xml_writer {
    std::string out;
    void write(const void* data, size_t size) override { out.append(static_cast<const char*>(data), size); }
};

bool unsafeName(const std::string& name)
{
    if (name.empty() || name[0] == '/' || name[0] == '\\' || name.find('\\') != std::string::npos)
        return true;
    if (name.find(':') != std::string::npos)
        return true;
    std::size_t start = 0;
    while (start <= name.size()) {
        std::size_t slash = name.find('/', start);
        std::string seg = name.substr(start, slash == std::string::npos ? std::string::npos : slash - start);
        if (seg == "..")
            return true;
        if (slash == std::string::npos)
            break;
        start = slash + 1;
    }
    for (unsigned char c : name)
        if (c < 0x20)
            return true;
    return false;
}

// A file in the older compound format: an .xlsx saved with a password (Excel encrypts the whole
// package into such a file) or a workbook of the 97-2003 format. Either way the user has to save it
// again; the message says how.
void refuseCompoundFile(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::string head(8, '\0');
    if (!in.read(head.data(), 8) || head != std::string("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8))
        return;
    // the directory names its streams in UTF-16; an encrypted package has "EncryptedPackage"
    std::string name;
    for (char c : std::string("EncryptedPackage"))
        name += {c, '\0'};
    std::string block(1 << 16, '\0');
    std::string carry;
    for (int i = 0; i < 1024 && in; ++i) { // the directory of a real file lies well inside 64 MB
        in.read(block.data(), static_cast<std::streamsize>(block.size()));
        std::string window = carry + block.substr(0, static_cast<std::size_t>(in.gcount()));
        if (window.find(name) != std::string::npos)
            throw Error("ブックがパスワードで保護されているため開けません。Excel "
                        "でパスワードを解除して保存し直して下さい: " +
                        fileLabel(path));
        carry = window.substr(window.size() > name.size() ? window.size() - name.size() : 0);
    }
    throw Error("ブックが Excel 97-2003 形式のため開けません。Excel で .xlsx 形式に保存し直して下さい: " +
                fileLabel(path));
}

} // namespace

std::string lowerAscii(std::string s)
{
    for (char& c : s)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c + 32);
    return s;
}

std::string resolveTarget(const std::string& source, const std::string& target)
{
    std::string t = target;
    // percent-decoding of %20 etc. is rare in packages; keep the text as written otherwise
    std::string base;
    if (!t.empty() && t[0] == '/') {
        t = t.substr(1);
    } else {
        auto slash = source.rfind('/');
        base = slash == std::string::npos ? std::string() : source.substr(0, slash + 1);
        t = base + t;
    }
    std::vector<std::string> segs;
    std::size_t start = 0;
    while (true) {
        auto slash = t.find('/', start);
        std::string seg = t.substr(start, slash == std::string::npos ? std::string::npos : slash - start);
        if (seg == "..") {
            if (!segs.empty())
                segs.pop_back();
        } else if (!seg.empty() && seg != ".") {
            segs.push_back(seg);
        }
        if (slash == std::string::npos)
            break;
        start = slash + 1;
    }
    std::string out;
    for (std::size_t i = 0; i < segs.size(); ++i) {
        if (i)
            out += '/';
        out += segs[i];
    }
    return out;
}

Package::Package(const std::filesystem::path& path) : path_(path)
{
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec))
        throw Error("ブックが見つかりません: " + fileLabel(path));
    int err = 0;
    zip_ = zip_open(path.c_str(), ZIP_RDONLY, &err);
    if (!zip_) {
        refuseCompoundFile(path);
        zip_error_t ze;
        zip_error_init_with_code(&ze, err);
        std::string msg = "ブックを開けません（xlsx形式ではないか、壊れています）: " + fileLabel(path) +
                          " (" + zip_error_strerror(&ze) + ")";
        zip_error_fini(&ze);
        throw Error(msg);
    }
    zip_int64_t n = zip_get_num_entries(zip_, 0);
    if (n < 0 || n > 100000) {
        zip_close(zip_);
        throw Error("ブックの構成が不正です: " + fileLabel(path));
    }
    for (zip_int64_t i = 0; i < n; ++i) {
        const char* nm = zip_get_name(zip_, static_cast<zip_uint64_t>(i), ZIP_FL_ENC_GUESS);
        if (!nm)
            continue;
        std::string name = nm;
        if (!name.empty() && name.back() == '/')
            continue; // folder entry
        if (unsafeName(name)) {
            zip_discard(zip_);
            zip_ = nullptr;
            throw Error("ブックに不正なパーツ名があります: " + fileLabel(path) + " (" + name + ")");
        }
        auto key = lowerAscii(name);
        if (entries_.count(key)) {
            zip_discard(zip_);
            zip_ = nullptr;
            throw Error("ブックに同じ名前のパーツが重複しています: " + fileLabel(path) + " (" + name + ")");
        }
        Entry e;
        e.name = name;
        e.index = i;
        entries_.emplace(key, std::move(e));
    }
    if (!has("[Content_Types].xml")) {
        zip_discard(zip_);
        zip_ = nullptr;
        throw Error("ブックに [Content_Types].xml がありません: " + fileLabel(path));
    }
}

Package::~Package()
{
    if (zip_)
        zip_discard(zip_);
}

Package::Entry* Package::find(const std::string& name)
{
    auto it = entries_.find(lowerAscii(name));
    if (it == entries_.end() || it->second.removed)
        return nullptr;
    return &it->second;
}

const Package::Entry* Package::find(const std::string& name) const
{
    auto it = entries_.find(lowerAscii(name));
    if (it == entries_.end() || it->second.removed)
        return nullptr;
    return &it->second;
}

bool Package::has(const std::string& name) const
{
    return find(name) != nullptr;
}

std::vector<std::string> Package::partNames() const
{
    std::vector<std::string> v;
    for (auto& [k, e] : entries_)
        if (!e.removed)
            v.push_back(e.name);
    return v;
}

const std::string& Package::read(const std::string& name)
{
    Entry* e = find(name);
    if (!e)
        throw Error("ブックにパーツ " + name + " がありません: " + fileLabel(path_));
    if (e->loaded)
        return e->bytes;
    zip_stat_t st;
    zip_stat_init(&st);
    if (zip_stat_index(zip_, static_cast<zip_uint64_t>(e->index), 0, &st) != 0)
        throw Error("パーツ " + name + " を読めません: " + fileLabel(path_));
    if ((st.valid & ZIP_STAT_SIZE) && st.size > kMaxPartSize)
        throw Error("パーツ " + name + " が大きすぎます（" + std::to_string(st.size / 1048576) +
                    " MB）: " + fileLabel(path_));
    if ((st.valid & ZIP_STAT_SIZE) && (st.valid & ZIP_STAT_COMP_SIZE) && st.size > 1048576 &&
        st.size / (st.comp_size + 1) > kMaxRatio)
        throw Error("パーツ " + name + " の圧縮率が異常です（zip爆弾の疑い）: " + fileLabel(path_));
    static thread_local zip_uint64_t dummy = 0;
    (void)dummy;
    zip_file_t* f = zip_fopen_index(zip_, static_cast<zip_uint64_t>(e->index), 0);
    if (!f)
        throw Error("パーツ " + name + " を開けません: " + fileLabel(path_) + " (" + zip_strerror(zip_) +
                    ")");
    std::string data;
    if (st.valid & ZIP_STAT_SIZE)
        data.reserve(static_cast<std::size_t>(st.size));
    char buf[65536];
    while (true) {
        zip_int64_t got = zip_fread(f, buf, sizeof buf);
        if (got < 0) {
            std::string msg = zip_error_strerror(zip_file_get_error(f));
            zip_fclose(f);
            throw Error("パーツ " + name + " が壊れています: " + fileLabel(path_) + " (" + msg + ")");
        }
        if (got == 0)
            break;
        data.append(buf, static_cast<std::size_t>(got));
        if (data.size() > kMaxPartSize) {
            zip_fclose(f);
            throw Error("パーツ " + name + " が大きすぎます: " + fileLabel(path_));
        }
    }
    zip_fclose(f);
    if ((st.valid & ZIP_STAT_SIZE) && data.size() != st.size)
        throw Error("パーツ " + name + " が壊れています（長さが違います）: " + fileLabel(path_));
    e->bytes = std::move(data);
    e->loaded = true;
    totalRead_ += e->bytes.size();
    if (totalRead_ > kMaxTotalRead)
        throw Error("ブックの展開後の大きさが上限（1 GB）を超えました: " + fileLabel(path_));
    return e->bytes;
}

void Package::write(const std::string& name, std::string bytes)
{
    Entry* e = find(name);
    if (!e) {
        auto key = lowerAscii(name);
        Entry ne;
        ne.name = name;
        ne.added = true;
        auto it = entries_.find(key);
        if (it != entries_.end()) {
            ne.index = it->second.index;
            ne.added = it->second.index < 0;
            it->second = std::move(ne);
            e = &it->second;
        } else {
            e = &entries_.emplace(key, std::move(ne)).first->second;
        }
    }
    e->bytes = std::move(bytes);
    e->loaded = true;
    e->dirty = true;
}

void Package::remove(const std::string& name)
{
    Entry* e = find(name);
    if (!e)
        return;
    e->removed = true;
    e->bytes.clear();
    e->bytes.shrink_to_fit();
}

bool Package::modified() const
{
    if (contentTypesDirty_)
        return true;
    for (auto& [k, d] : relsDirty_)
        if (d)
            return true;
    for (auto& [k, e] : entries_)
        if (e.dirty || e.removed)
            return true;
    return false;
}

void Package::saveTo(const std::filesystem::path& target)
{
    // Flush the documents kept here into their parts.
    if (contentTypesDirty_) {
        write("[Content_Types].xml", serialize(*contentTypes_));
        contentTypesDirty_ = false;
    }
    for (auto& [name, d] : relsDirty_) {
        if (!d)
            continue;
        write(name, serialize(*rels_[name]));
        d = false;
    }
    // Load every part that will be written from the old file before it is replaced.
    bool samePath = false;
    std::error_code ec;
    if (std::filesystem::exists(target, ec))
        samePath = std::filesystem::equivalent(target, path_, ec);
    if (!samePath) {
        std::filesystem::copy_file(path_, target, std::filesystem::copy_options::overwrite_existing, ec);
        if (ec)
            throw Error("ブックを保存できません: " + fileLabel(target) + " (" + ec.message() + ")");
        // a copy of a read-only template must still be writable by its owner
        std::filesystem::permissions(target,
                                     std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
                                     std::filesystem::perm_options::add, ec);
    }
    int err = 0;
    zip_t* w = zip_open(target.c_str(), 0, &err);
    if (!w) {
        if (!samePath)
            std::filesystem::remove(target, ec);
        throw Error("ブックを保存できません: " + fileLabel(target));
    }
    auto fail = [&](const std::string& what) {
        std::string msg =
            "ブックを保存できません: " + fileLabel(target) + " (" + what + ": " + zip_strerror(w) + ")";
        zip_discard(w);
        if (!samePath)
            std::filesystem::remove(target, ec);
        throw Error(msg);
    };
    for (auto& [key, e] : entries_) {
        if (e.removed) {
            if (e.index >= 0) {
                zip_int64_t idx = zip_name_locate(w, e.name.c_str(), 0);
                if (idx >= 0 && zip_delete(w, static_cast<zip_uint64_t>(idx)) != 0)
                    fail(e.name);
            }
            continue;
        }
        if (!e.dirty)
            continue;
        zip_source_t* src = zip_source_buffer(w, e.bytes.data(), e.bytes.size(), 0);
        if (!src)
            fail(e.name);
        zip_int64_t idx = e.index >= 0 ? zip_name_locate(w, e.name.c_str(), 0) : -1;
        // libzip keeps an entry's original compression settings when it is replaced in place,
        // which means its slowest level; a large part is deleted and added again instead so
        // that the chosen level applies (the order of entries in a package carries no meaning).
        if (idx >= 0 && e.bytes.size() > kReaddThreshold) {
            if (zip_delete(w, static_cast<zip_uint64_t>(idx)) != 0) {
                zip_source_free(src);
                fail(e.name);
            }
            idx = -1;
        }
        if (idx >= 0) {
            if (zip_file_replace(w, static_cast<zip_uint64_t>(idx), src, 0) != 0) {
                zip_source_free(src);
                fail(e.name);
            }
        } else {
            idx = zip_file_add(w, e.name.c_str(), src, ZIP_FL_ENC_UTF_8);
            if (idx < 0) {
                zip_source_free(src);
                fail(e.name);
            }
        }
        if (zip_set_file_compression(w, static_cast<zip_uint64_t>(idx), ZIP_CM_DEFLATE, kDeflateLevel) != 0)
            fail(e.name);
        zip_file_set_mtime(w, static_cast<zip_uint64_t>(idx), 315532800, 0); // 1980-01-01, like the rest
    }
    if (zip_close(w) != 0)
        fail("zip_close");
    // The written file is now the workbook's file; entries keep their bytes in memory.
    if (zip_)
        zip_discard(zip_);
    zip_ = zip_open(target.c_str(), ZIP_RDONLY, &err);
    path_ = target;
    std::map<std::string, Entry> fresh;
    if (zip_) {
        for (auto& [key, e] : entries_) {
            if (e.removed)
                continue;
            Entry ne = std::move(e);
            ne.dirty = false;
            ne.added = false;
            ne.index = zip_name_locate(zip_, ne.name.c_str(), 0);
            if (ne.index < 0)
                continue;
            fresh.emplace(key, std::move(ne));
        }
        entries_ = std::move(fresh);
    }
}

void Package::parseXml(pugi::xml_document& doc, const std::string& bytes, const std::string& name)
{
    // Office never writes a document type declaration; one here is a damaged or hostile file.
    if (bytes.find("<!DOCTYPE") != std::string::npos || bytes.find("<!ENTITY") != std::string::npos)
        throw Error("パーツ " + name + " に文書型宣言（DOCTYPE）があり、読み込めません。");
    unsigned opts = (pugi::parse_default & ~pugi::parse_wconv_attribute) | pugi::parse_declaration |
                    pugi::parse_ws_pcdata_single;
    auto res = doc.load_buffer(bytes.data(), bytes.size(), opts, pugi::encoding_auto);
    if (!res)
        throw Error("パーツ " + name + " のXMLが壊れています（" + res.description() + "、位置 " +
                    std::to_string(res.offset) + "）");
    if (!doc.document_element())
        throw Error("パーツ " + name + " のXMLが空です。");
}

std::string Package::serialize(const pugi::xml_document& doc)
{
    StringWriter w;
    doc.save(w, "", pugi::format_raw, pugi::encoding_utf8);
    return std::move(w.out);
}

pugi::xml_document& Package::contentTypes()
{
    if (!contentTypes_) {
        contentTypes_ = std::make_unique<pugi::xml_document>();
        parseXml(*contentTypes_, read("[Content_Types].xml"), "[Content_Types].xml");
    }
    return *contentTypes_;
}

std::string Package::contentType(const std::string& name)
{
    auto& doc = contentTypes();
    std::string lname = "/" + lowerAscii(name);
    for (auto n : doc.document_element().children()) {
        std::string nm = n.name();
        if (nm == "Override" && lowerAscii(n.attribute("PartName").value()) == lname)
            return n.attribute("ContentType").value();
    }
    auto dot = name.rfind('.');
    std::string ext = dot == std::string::npos ? std::string() : lowerAscii(name.substr(dot + 1));
    for (auto n : doc.document_element().children()) {
        std::string nm = n.name();
        if (nm == "Default" && lowerAscii(n.attribute("Extension").value()) == ext)
            return n.attribute("ContentType").value();
    }
    return {};
}

void Package::setOverride(const std::string& name, const std::string& type)
{
    auto& doc = contentTypes();
    removeOverride(name);
    auto n = doc.document_element().append_child("Override");
    n.append_attribute("PartName") = ("/" + name).c_str();
    n.append_attribute("ContentType") = type.c_str();
    contentTypesDirty_ = true;
}

void Package::removeOverride(const std::string& name)
{
    auto& doc = contentTypes();
    std::string lname = "/" + lowerAscii(name);
    for (auto n = doc.document_element().first_child(); n;) {
        auto next = n.next_sibling();
        if (std::string(n.name()) == "Override" && lowerAscii(n.attribute("PartName").value()) == lname) {
            doc.document_element().remove_child(n);
            contentTypesDirty_ = true;
        }
        n = next;
    }
}

std::string Package::relsName(const std::string& source)
{
    if (source.empty())
        return "_rels/.rels";
    auto slash = source.rfind('/');
    std::string dir = slash == std::string::npos ? std::string() : source.substr(0, slash + 1);
    std::string file = slash == std::string::npos ? source : source.substr(slash + 1);
    return dir + "_rels/" + file + ".rels";
}

pugi::xml_document& Package::relsDoc(const std::string& source)
{
    std::string rn = relsName(source);
    auto it = rels_.find(rn);
    if (it != rels_.end())
        return *it->second;
    auto doc = std::make_unique<pugi::xml_document>();
    if (has(rn)) {
        parseXml(*doc, read(rn), rn);
    } else {
        auto decl = doc->append_child(pugi::node_declaration);
        decl.append_attribute("version") = "1.0";
        decl.append_attribute("encoding") = "UTF-8";
        decl.append_attribute("standalone") = "yes";
        doc->append_child("Relationships").append_attribute("xmlns") =
            "http://schemas.openxmlformats.org/package/2006/relationships";
    }
    auto& ref = *doc;
    rels_[rn] = std::move(doc);
    return ref;
}

std::vector<Relationship> Package::relationships(const std::string& source)
{
    std::vector<Relationship> out;
    auto& doc = relsDoc(source);
    for (auto n : doc.document_element().children()) {
        std::string nm = n.name();
        auto colon = nm.find(':');
        if ((colon == std::string::npos ? nm : nm.substr(colon + 1)) != "Relationship")
            continue;
        Relationship r;
        r.id = n.attribute("Id").value();
        r.type = n.attribute("Type").value();
        r.target = n.attribute("Target").value();
        r.external = std::string(n.attribute("TargetMode").value()) == "External";
        if (!r.external)
            r.resolved = resolveTarget(source, r.target);
        out.push_back(std::move(r));
    }
    return out;
}

std::string Package::addRelationship(const std::string& source, const std::string& type,
                                     const std::string& target, bool external)
{
    auto& doc = relsDoc(source);
    std::set<std::string> ids;
    for (auto n : doc.document_element().children())
        ids.insert(n.attribute("Id").value());
    int k = 1;
    std::string id;
    do {
        id = "rId" + std::to_string(k++);
    } while (ids.count(id));
    auto n = doc.document_element().append_child("Relationship");
    n.append_attribute("Id") = id.c_str();
    n.append_attribute("Type") = type.c_str();
    n.append_attribute("Target") = target.c_str();
    if (external)
        n.append_attribute("TargetMode") = "External";
    relsDirty_[relsName(source)] = true;
    return id;
}

void Package::removeRelationship(const std::string& source, const std::string& id)
{
    auto& doc = relsDoc(source);
    for (auto n : doc.document_element().children()) {
        if (id == n.attribute("Id").value()) {
            doc.document_element().remove_child(n);
            relsDirty_[relsName(source)] = true;
            return;
        }
    }
}

} // namespace xlsx::detail
