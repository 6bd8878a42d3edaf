#include "Package.h"

#include "Workbook.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>
#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <set>

namespace xlsx::detail
{

namespace
{

// The library's and the system's English causes, led by what they mean for the user.
std::string zipCause(const zip_error_t* ze)
{
    const char* meaning = nullptr;
    switch (zip_error_code_zip(ze)) {
    case ZIP_ER_NOZIP:
        meaning = "xlsx（ZIP）形式のファイルではありません";
        break;
    case ZIP_ER_INCONS:
    case ZIP_ER_CRC:
    case ZIP_ER_ZLIB:
    case ZIP_ER_EOF:
        meaning = "ファイルが途中で切れているか壊れています";
        break;
    case ZIP_ER_ENCRNOTSUPP:
    case ZIP_ER_COMPNOTSUPP:
        meaning = "対応していない圧縮・暗号化の形式です";
        break;
    case ZIP_ER_OPEN:
    case ZIP_ER_READ:
    case ZIP_ER_SEEK:
        meaning = "ファイルを読めません";
        break;
    case ZIP_ER_MEMORY:
        meaning = "メモリが不足しています";
        break;
    default:
        meaning = "ファイルを読めません";
        break;
    }
    return std::string(meaning) + "。原因: " + zip_error_strerror(const_cast<zip_error_t*>(ze));
}

std::string systemCause(int err)
{
    const char* meaning = "ファイルを書き込めません";
    if (err == ENOSPC || err == EDQUOT)
        meaning = "ディスクの空き容量が足りません";
    else if (err == EACCES || err == EPERM || err == EROFS)
        meaning = "書き込みが許可されていません";
    else if (err == ENOENT)
        meaning = "フォルダがありません";
    return std::string(meaning) + "。原因: " + std::strerror(err);
}

constexpr zip_uint64_t kMaxPartSize = 256ull * 1024 * 1024;   // one part, uncompressed
constexpr zip_uint64_t kMaxTotalRead = 1024ull * 1024 * 1024; // everything read from one file
constexpr zip_uint64_t kMaxRatio = 1000;                      // uncompressed / compressed
// The fastest deflate level: rewritten sheets of a long parts list are a few megabytes of very
// repetitive XML, and level 1 saves them in a third of the time of level 6 for a file about a
// third larger; the work copy is written on every print, so the time matters more than the size.
constexpr int kDeflateLevel = 1;
constexpr std::size_t kChunk = 65536;

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

void deflateInitRaw(z_stream& z)
{
    std::memset(&z, 0, sizeof z);
    if (deflateInit2(&z, kDeflateLevel, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw Error("圧縮の準備ができません（メモリ不足）。");
}

// Runs deflate over the pending input with the given flush mode, handing every filled buffer on.
template <class Out> void deflateAll(z_stream& z, int flush, Out&& out)
{
    unsigned char buf[kChunk];
    int rc = Z_OK;
    do {
        z.next_out = buf;
        z.avail_out = sizeof buf;
        rc = deflate(&z, flush);
        if (rc == Z_STREAM_ERROR)
            throw Error("圧縮に失敗しました。");
        out(std::string_view(reinterpret_cast<const char*>(buf), sizeof buf - z.avail_out));
    } while (z.avail_out == 0 || (flush == Z_FINISH && rc != Z_STREAM_END));
}

void deflateText(z_stream& z, std::string_view text, int flush,
                 const std::function<void(std::string_view)>& out)
{
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    z.avail_in = static_cast<uInt>(text.size());
    deflateAll(z, flush, out);
}

std::uint32_t crcOf(std::uint32_t crc, std::string_view text)
{
    return static_cast<std::uint32_t>(
        crc32_z(crc, reinterpret_cast<const Bytef*>(text.data()), static_cast<z_size_t>(text.size())));
}

void dosTime(std::time_t t, std::uint16_t& time, std::uint16_t& date)
{
    std::tm tm{};
    if (t <= 0 || !localtime_r(&t, &tm) || tm.tm_year < 80) {
        time = 0;
        date = 0x21; // 1980-01-01
        return;
    }
    time = static_cast<std::uint16_t>((tm.tm_hour << 11) | (tm.tm_min << 5) | (tm.tm_sec / 2));
    date = static_cast<std::uint16_t>(((tm.tm_year - 80) << 9) | ((tm.tm_mon + 1) << 5) | tm.tm_mday);
}

// Writes a zip file next to its target and puts it in the target's place when it is complete, so a
// save never leaves a half-written workbook. Parts that did not change are copied as they are
// stored; changed parts are deflated straight into the file.
class ZipWriter
{
public:
    ZipWriter(const std::filesystem::path& target, mode_t mode) : target_(target)
    {
        temp_ = target.native() + ".XXXXXX";
        int fd = mkstemp(temp_.data());
        if (fd < 0)
            fail("一時ファイルを作成できません", errno);
        fchmod(fd, mode);
        file_ = fdopen(fd, "wb");
        if (!file_) {
            int e = errno;
            ::close(fd);
            fail("一時ファイルを作成できません", e);
        }
    }
    ~ZipWriter()
    {
        if (file_)
            std::fclose(file_);
        if (!committed_)
            ::unlink(temp_.c_str());
    }
    ZipWriter(const ZipWriter&) = delete;
    ZipWriter& operator=(const ZipWriter&) = delete;

    // An unchanged part, copied compressed as it is in the source.
    void copy(zip_t* src, zip_uint64_t index, const std::string& name)
    {
        zip_stat_t st;
        zip_stat_init(&st);
        if (zip_stat_index(src, index, 0, &st) != 0)
            fail(name + " を読めません");
        const zip_uint64_t need = ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE | ZIP_STAT_CRC | ZIP_STAT_COMP_METHOD;
        if ((st.valid & need) != need)
            fail(name + " の情報を読めません");
        if ((st.valid & ZIP_STAT_ENCRYPTION_METHOD) && st.encryption_method != ZIP_EM_NONE)
            fail(name + " が暗号化されています");
        Central c = start(name, st.comp_method, (st.valid & ZIP_STAT_MTIME) ? st.mtime : 0);
        c.crc = st.crc;
        c.size = st.size;
        c.csize = st.comp_size;
        putLocal(c);
        zip_file_t* f = zip_fopen_index(src, index, ZIP_FL_COMPRESSED);
        if (!f)
            fail(name + " を読めません");
        std::uint64_t copied = 0;
        char buf[kChunk];
        while (true) {
            zip_int64_t got = zip_fread(f, buf, sizeof buf);
            if (got < 0) {
                zip_fclose(f);
                fail(name + " を読めません");
            }
            if (got == 0)
                break;
            put(buf, static_cast<std::size_t>(got));
            copied += static_cast<std::uint64_t>(got);
        }
        zip_fclose(f);
        if (copied != st.comp_size)
            fail(name + " の長さが違います");
        central_.push_back(std::move(c));
    }

    // A changed part, deflated as the producer hands its bytes over.
    void add(const std::string& name, const PartProducer& producer)
    {
        Central c = start(name, ZIP_CM_DEFLATE, 0);
        putLocal(c);
        struct Sink : PartSink {
            ZipWriter& w;
            Central& c;
            z_stream z;
            std::function<void(std::string_view)> out;
            Sink(ZipWriter& writer, Central& central) : w(writer), c(central)
            {
                deflateInitRaw(z);
                out = [this](std::string_view d) {
                    w.put(d.data(), d.size());
                    c.csize += d.size();
                };
            }
            ~Sink() override { deflateEnd(&z); }
            void write(std::string_view bytes) override
            {
                c.crc = crcOf(c.crc, bytes);
                c.size += bytes.size();
                deflateText(z, bytes, Z_NO_FLUSH, out);
            }
            void write(const DeflatedPiece& piece) override
            {
                // What came before ends on a byte boundary; the piece refers to nothing before it,
                // and what follows starts afresh.
                deflateText(z, {}, Z_SYNC_FLUSH, out);
                for (const std::string& block : *piece.data)
                    out(block);
                c.crc = static_cast<std::uint32_t>(
                    crc32_combine(c.crc, piece.crc, static_cast<z_off_t>(piece.size)));
                c.size += piece.size;
                deflateReset(&z);
            }
        } sink(*this, c);
        producer(sink);
        deflateText(sink.z, {}, Z_FINISH, sink.out);
        // The sizes and the CRC are known now: complete the local header.
        if (std::fflush(file_) != 0 || fseeko(file_, static_cast<off_t>(c.offset + 14), SEEK_SET) != 0)
            fail(name, errno);
        checkSizes(c);
        std::string fix;
        le32(fix, c.crc);
        le32(fix, static_cast<std::uint32_t>(c.csize));
        le32(fix, static_cast<std::uint32_t>(c.size));
        if (std::fwrite(fix.data(), 1, fix.size(), file_) != fix.size() || fseeko(file_, 0, SEEK_END) != 0)
            fail(name, errno);
        central_.push_back(std::move(c));
    }

    void commit()
    {
        const std::uint64_t dirStart = offset_;
        if (central_.size() >= 0xFFFF)
            fail("パーツが多すぎます");
        for (const Central& c : central_) {
            std::string h;
            le32(h, 0x02014b50);
            le16(h, 20); // made by: MS-DOS, 2.0
            header(h, c);
            le16(h, 0); // comment
            le16(h, 0); // disk
            le16(h, 0); // internal attributes
            le32(h, 0); // external attributes
            le32(h, static_cast<std::uint32_t>(c.offset));
            h += c.name;
            put(h.data(), h.size());
        }
        const std::uint64_t dirSize = offset_ - dirStart;
        if (dirStart >= 0xFFFFFFFFull || dirSize >= 0xFFFFFFFFull)
            fail("ファイルが大きすぎます");
        std::string e;
        le32(e, 0x06054b50);
        le16(e, 0);
        le16(e, 0);
        le16(e, static_cast<std::uint16_t>(central_.size()));
        le16(e, static_cast<std::uint16_t>(central_.size()));
        le32(e, static_cast<std::uint32_t>(dirSize));
        le32(e, static_cast<std::uint32_t>(dirStart));
        le16(e, 0);
        put(e.data(), e.size());
        FILE* f = file_;
        file_ = nullptr;
        if (std::fclose(f) != 0)
            fail("書き込めません", errno);
        if (std::rename(temp_.c_str(), target_.c_str()) != 0)
            fail("置き換えられません", errno);
        committed_ = true;
    }

private:
    struct Central {
        std::string name;
        std::uint16_t flags = 0, method = 0, time = 0, date = 0;
        std::uint32_t crc = 0;
        std::uint64_t size = 0, csize = 0, offset = 0;
    };

    static void le16(std::string& s, std::uint16_t v)
    {
        s += static_cast<char>(v & 0xFF);
        s += static_cast<char>(v >> 8);
    }
    static void le32(std::string& s, std::uint32_t v)
    {
        le16(s, static_cast<std::uint16_t>(v & 0xFFFF));
        le16(s, static_cast<std::uint16_t>(v >> 16));
    }

    [[noreturn]] void fail(const std::string& what, int err = 0)
    {
        throw Error("ブックを保存できません: " + fileLabel(target_) + " (" + what +
                    (err ? std::string(": ") + systemCause(err) : std::string()) + ")");
    }

    Central start(const std::string& name, std::int32_t method, std::time_t mtime)
    {
        if (name.size() > 0xFFFF)
            fail(name);
        Central c;
        c.name = name;
        c.method = static_cast<std::uint16_t>(method);
        for (unsigned char ch : name)
            if (ch >= 0x80)
                c.flags = 0x800; // the name is UTF-8
        dosTime(mtime, c.time, c.date);
        c.offset = offset_;
        return c;
    }

    void checkSizes(const Central& c)
    {
        if (c.size >= 0xFFFFFFFFull || c.csize >= 0xFFFFFFFFull || c.offset >= 0xFFFFFFFFull)
            fail(c.name + " が大きすぎます");
    }

    // The fields the local and the central header share, from "version needed" to "extra length".
    static void header(std::string& h, const Central& c)
    {
        le16(h, c.method == ZIP_CM_STORE || c.method == ZIP_CM_DEFLATE ? 20 : 63);
        le16(h, c.flags);
        le16(h, c.method);
        le16(h, c.time);
        le16(h, c.date);
        le32(h, c.crc);
        le32(h, static_cast<std::uint32_t>(c.csize));
        le32(h, static_cast<std::uint32_t>(c.size));
        le16(h, static_cast<std::uint16_t>(c.name.size()));
        le16(h, 0);
    }

    void putLocal(const Central& c)
    {
        checkSizes(c);
        std::string h;
        le32(h, 0x04034b50);
        header(h, c);
        h += c.name;
        put(h.data(), h.size());
    }

    void put(const void* data, std::size_t size)
    {
        if (size && std::fwrite(data, 1, size, file_) != size)
            fail("書き込めません", errno);
        offset_ += size;
    }

    std::filesystem::path target_;
    std::string temp_;
    FILE* file_ = nullptr;
    bool committed_ = false;
    std::uint64_t offset_ = 0;
    std::vector<Central> central_;
};

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

std::string fileLabel(const std::filesystem::path& p)
{
    auto u = p.filename().u8string();
    return std::string(reinterpret_cast<const char*>(u.c_str()), u.size());
}

DeflateStream::DeflateStream() : z_(std::make_unique<z_stream>())
{
    deflateInitRaw(*z_);
}

DeflateStream::~DeflateStream()
{
    deflateEnd(z_.get());
}

void DeflateStream::run(int flush)
{
    deflateAll(*z_, flush, [this](std::string_view d) {
        while (!d.empty()) {
            if (out_.empty() || out_.back().size() == kChunk) {
                out_.emplace_back();
                out_.back().reserve(kChunk);
            }
            const std::size_t n = std::min(d.size(), kChunk - out_.back().size());
            out_.back().append(d.substr(0, n));
            d.remove_prefix(n);
        }
    });
}

void DeflateStream::add(std::string_view text)
{
    crc_ = crcOf(crc_, text);
    size_ += text.size();
    z_->next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    z_->avail_in = static_cast<uInt>(text.size());
    run(Z_NO_FLUSH);
}

DeflatedPiece DeflateStream::piece()
{
    z_->next_in = nullptr;
    z_->avail_in = 0;
    run(Z_SYNC_FLUSH);
    return {&out_, crc_, size_};
}

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
                          " (" + zipCause(&ze) + ")";
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
        throw Error("パーツ " + name + " を開けません: " + fileLabel(path_) + " (" +
                    zipCause(zip_get_error(zip_)) + ")");
    std::string data;
    if (st.valid & ZIP_STAT_SIZE)
        data.reserve(static_cast<std::size_t>(st.size));
    char buf[65536];
    while (true) {
        zip_int64_t got = zip_fread(f, buf, sizeof buf);
        if (got < 0) {
            std::string msg = zipCause(zip_file_get_error(f));
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

Package::Entry& Package::entryFor(const std::string& name)
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
    return *e;
}

void Package::write(const std::string& name, std::string bytes)
{
    Entry& e = entryFor(name);
    e.bytes = std::move(bytes);
    e.producer = nullptr;
    e.loaded = true;
    e.dirty = true;
}

void Package::writeStreamed(const std::string& name, PartProducer producer)
{
    Entry& e = entryFor(name);
    e.bytes.clear();
    e.bytes.shrink_to_fit();
    e.producer = std::move(producer);
    e.loaded = false;
    e.dirty = true;
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
    // The parts in the order of the opened file, new ones after them.
    std::vector<Entry*> order;
    for (auto& [key, e] : entries_)
        if (!e.removed)
            order.push_back(&e);
    std::stable_sort(order.begin(), order.end(), [](const Entry* a, const Entry* b) {
        return (a->index < 0 ? INT64_MAX : a->index) < (b->index < 0 ? INT64_MAX : b->index);
    });
    // The new file gets the opened one's permissions, and its owner may always write it (a copy of
    // a read-only template included).
    struct stat st {
    };
    mode_t mode = 0644;
    if (::stat(path_.c_str(), &st) == 0)
        mode = st.st_mode & 07777;
    ZipWriter out(target, mode | S_IRUSR | S_IWUSR);
    for (Entry* e : order) {
        if (e->dirty) {
            if (e->producer)
                out.add(e->name, e->producer);
            else
                out.add(e->name, [e](PartSink& sink) { sink.write(e->bytes); });
        } else {
            out.copy(zip_, static_cast<zip_uint64_t>(e->index), e->name);
        }
    }
    out.commit();
    // The written file is now the workbook's file; entries written from memory keep their bytes.
    if (zip_)
        zip_discard(zip_);
    int err = 0;
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
            ne.producer = nullptr;
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
