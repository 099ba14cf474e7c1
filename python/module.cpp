// The extension module _kpximage, below the package kpximage. Paths are passed as bytes, channels as a string with one
// letter each, and dictionaries as JSON text. File errors raise Failure(sentence, code, isOutput): code is errno or
// None, isOutput tells whether the output failed.
#include <cxxabi.h>
#include <dlfcn.h>
#include <pybind11/functional.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <vector>

#include "explain/Explanation.h"
#include "explain/text.h"
#include "host/HostError.h"
#include "tools/files/PendingFile.h"
#include "tools/json/fileJson.h"
#include "tools/json/gradeText.h"
#include "tools/pictures/DdsSource.h"
#include "tools/pictures/PixelSource.h"
#include "tools/pictures/outputs.h"
#include "tools/pictures/values.h"
#include "tools/plugin/pluginChoice.h"
#include "tools/repair/repairFile.h"
#include "tools/terminal/errors.h"

namespace kpx::python {
namespace {

namespace py = pybind11;

// Releases the interpreter lock for its lifetime. If the interpreter has ended when the destructor requests the lock,
// Python unwinds the stack of this thread. The stack has Python objects, which must not be touched any more, so the
// thread sleeps until the process ends, as later versions of Python do.
class Unlocked {
public:
    Unlocked() : m_state(PyEval_SaveThread()) {}
    ~Unlocked() {
        try {
            PyEval_RestoreThread(m_state);
        } catch (const abi::__forced_unwind&) {
            for (;;) pause();
        }
    }
    Unlocked(const Unlocked&) = delete;
    Unlocked& operator=(const Unlocked&) = delete;

private:
    PyThreadState* m_state;
};

// Returns where plug-ins are looked for: around this module, which is in the folder of its package.
tool::Searcher module() {
    Dl_info self{};
    dladdr(reinterpret_cast<const void*>(&module), &self);
    return {std::filesystem::canonical(self.dli_fname).parent_path(), "beside the module", KPX_PLUGIN_DIR_FROM_MODULE,
            "in KPX_PLUGIN"};
}

// Loads the plug-in on first use. It is never unloaded, as other threads may use it when the interpreter ends.
const host::Plugin& plugin() {
    static const host::Plugin& loaded = *new host::Plugin(tool::choosePlugin("", module()).path);
    return loaded;
}

// Runs the handlers of pending signals. Throws what they raise.
void handleSignals() {
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
}

// Opens a file, and returns in `explanation` what is known of it. Throws FileError, HostError and bad_alloc.
tool::OpenedImage openImage(const host::Plugin& plugin, const std::string& path, Explanation& explanation) {
    const tool::OpenFile file(path);
    explanation = explain(file.facts());
    if (explanation.grade == Grade::unreadable) throw tool::FileError(tool::gradeText(explanation).sentence);
    tool::OpenedImage image = tool::openThroughHost(plugin, file);
    // The picture could be decoded, but its memory could not be allocated.
    if (image.isBlack && image.verdict.result == Result::decoded) throw std::bad_alloc();
    return image;
}

// Copies the reader's rows of channels directly to an array of pixels.
template <typename Value>
py::array readRows(tool::DdsSource& source, py::ssize_t channelCount) {
    const tool::ImageLayout& layout = source.layout();
    py::array_t<Value> array(std::array<py::ssize_t, 3>{layout.height, layout.width, channelCount});
    Value* to = array.mutable_data();
    const auto width = static_cast<std::size_t>(layout.width), channels = static_cast<std::size_t>(channelCount);
    {
        const Unlocked unlocked;
        for (int y = 0; y < layout.height; ++y, to += width * channels) {
            const auto rows = source.nextRow();
            std::array<const Value*, 4> values{};
            for (std::size_t i = 0; i < channels; ++i) values[i] = reinterpret_cast<const Value*>(rows[i]);
            tool::joinRows(values.data(), channels, width, to);
        }
    }
    return array;
}

py::str jsonText(const tool::Json& object) {
    return object.dump(-1, ' ', false, tool::Json::error_handler_t::replace);
}

// Returns the array, the names of its channels, why it is black or "", the grade, and the findings as JSON.
py::tuple readPicture(const std::string& path) {
    const host::Plugin& readingPlugin = plugin();
    std::optional<tool::DdsSource> source;
    Explanation explanation;
    {
        const Unlocked unlocked;
        source.emplace(openImage(readingPlugin, path, explanation));
    }
    const std::string why = source->isBlack() ? tool::gradeText(explanation).sentence : "";
    handleSignals();
    std::string names(tool::channelUse(source->layout()).names);
    if (source->traits().isRed) names.front() = 'R';
    const auto channels = static_cast<py::ssize_t>(names.size());
    const bool isFloat = source->layout().isFloat;
    const py::array array = isFloat ? readRows<float>(*source, channels) : readRows<unsigned char>(*source, channels);
    {
        const Unlocked unlocked;
        source.reset();
    }
    return py::make_tuple(array, names, why, gradeName(explanation.grade),
                          jsonText(tool::findingsAsJson(explanation.findings)));
}

// An array in memory as a picture that is written: bytes along the axes height, width and channels, with any strides.
class ArraySource : public tool::PixelSource {
public:
    // names: a letter for each channel, in any order. The array must outlive the source. Throws UsageError for names
    // that no picture has, and for sizes that no file can have.
    ArraySource(const py::array& pixels, const std::string& names)
        : m_from(static_cast<const unsigned char*>(pixels.data())),
          // A copy, as other threads may reshape the array.
          m_strides{pixels.strides(0), pixels.strides(1), pixels.strides(2)} {
        // Red alone is written as grey, as other one-colour pictures are.
        std::string channels = names;
        if (channels.find_first_of("YGB") == channels.npos) std::replace(channels.begin(), channels.end(), 'R', 'Y');
        const tool::ChannelUse* use = tool::channelUse(channels);
        if (use == nullptr)
            throw tool::UsageError("array has the channels " + names +
                                   ", which are none of Y, R, A, YA, RA, RG, RGA, RGB and RGBA");
        m_layout = {sideOf(pixels.shape(1)), sideOf(pixels.shape(0)), use->colours, use->mattes, false};
        if (pixels.size() == 0)
            throw tool::UsageError(textOf("array has no pixels: it is ", m_layout.width, " x ", m_layout.height));
        const auto width = static_cast<std::size_t>(m_layout.width);
        m_values.resize(width * names.size());
        for (std::size_t i = 0; i < names.size(); ++i) {
            m_places.push_back(static_cast<py::ssize_t>(channels.find(use->names[i])));
            m_rows.push_back(m_values.data() + i * width);
        }
    }

    [[nodiscard]] const tool::ImageLayout& layout() const override { return m_layout; }

    std::span<const unsigned char* const> nextRow() override {
        unsigned char* to = m_values.data();
        for (const py::ssize_t place : m_places) {
            const unsigned char* from = m_from + place * m_strides[2];
            for (int x = 0; x < m_layout.width; ++x) *to++ = from[x * m_strides[1]];
        }
        m_from += m_strides[0];
        return m_rows;
    }

private:
    static int sideOf(py::ssize_t count) {
        if (count > std::numeric_limits<int>::max()) throw tool::UsageError("array is too large for a DDS file");
        return static_cast<int>(count);
    }

    tool::ImageLayout m_layout{};
    const unsigned char* m_from;  // the next row
    std::array<py::ssize_t, 3> m_strides;
    std::vector<py::ssize_t> m_places;    // of the picture's channels on the array's last axis
    std::vector<unsigned char> m_values;  // a row of each channel in turn
    std::vector<const unsigned char*> m_rows;
};

host::OptionChoice alphaChoice(const host::Plugin& plugin, const std::string& value) try {
    return tool::optionChoice(plugin, "Alpha=" + value);
} catch (const tool::UsageError& error) {
    throw tool::UsageError(std::string("alpha: ") + error.what());
}

// Writes a DDS file. Before the complete file gets its name, `warn` is called with the writer's note, if it has one. If
// `warn` raises, no file is left.
void writePicture(const std::string& path, const py::array& pixels, const std::string& names,
                  const std::optional<std::string>& alpha, const std::function<void(const std::string&)>& warn) {
    if (pixels.ndim() != 3 || pixels.shape(2) != static_cast<py::ssize_t>(names.size()))
        throw tool::UsageError("array must have three axes, and channels a name for each place of the last");
    if (pixels.dtype().kind() != 'u' || pixels.itemsize() != 1) throw py::type_error("array must have values of uint8");
    tool::OutputSettings settings{plugin()};
    settings.isPadded = true;
    if (alpha) settings.options.push_back(alphaChoice(settings.plugin, *alpha));
    ArraySource source(pixels, names);
    std::optional<tool::PendingFile> file;
    std::string note;
    {
        const Unlocked unlocked;
        file.emplace(path);
        try {
            note = tool::writeDds(source, file->path(), settings);
        } catch (const tool::OutputError& error) {
            throw tool::OutputError(tool::withName(error.what(), file->path(), path), error.code());
        }
    }
    if (!note.empty()) warn(note);
    handleSignals();
    const Unlocked unlocked;
    file->commit();
}

py::str explainFile(const std::string& path) {
    const Explanation file = [&] {
        const Unlocked unlocked;
        return explain(tool::OpenFile(path).facts());
    }();
    return jsonText(tool::fileAsJson(path, file));
}

// Returns the report of a repair. Writes nothing without an output.
py::str repair(const std::string& path, const std::optional<std::string>& output, bool mayRecode) {
    const tool::RepairPlan plan = [&] {
        const Unlocked unlocked;
        const tool::OpenFile file(path);
        tool::RepairPlan planned = tool::planRepair(file.facts(), mayRecode);
        if (output && planned.helps()) tool::writeRepaired(file, planned, *output, tool::Existing::replace);
        return planned;
    }();
    return jsonText(tool::repairAsJson(path, output.value_or(""), plan, !output));
}

// Returns a sentence as str. It may quote a path, which need not be UTF-8.
py::object pathText(const char* sentence) {
    return py::reinterpret_steal<py::object>(PyUnicode_DecodeFSDefault(sentence));
}

// Sets a Failure; a code of 0 becomes None.
template <typename Error>
void setFailure(py::handle failure, const Error& error, bool isOfOutput) {
    const py::object sentence = pathText(error.what());
    if (!sentence) return;
    const py::object code = error.code() == 0 ? py::object(py::none()) : py::int_(error.code());
    PyErr_SetObject(failure.ptr(), py::make_tuple(sentence, code, isOfOutput).ptr());
}

}  // namespace
}  // namespace kpx::python

PYBIND11_MODULE(_kpximage, module) {
    namespace py = pybind11;
    using namespace kpx::python;
    static const py::handle failure = py::exception<kpx::tool::FileError>(module, "Failure").release();
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(std::move(thrown));
        } catch (const kpx::tool::UsageError& error) {
            if (const py::object text = pathText(error.what())) PyErr_SetObject(PyExc_ValueError, text.ptr());
        } catch (const kpx::tool::OutputError& error) {
            setFailure(failure, error, true);
        } catch (const kpx::tool::FileError& error) {
            setFailure(failure, error, false);
        } catch (const kpx::host::HostError& error) {
            setFailure(failure, error, false);
        }
    });
    kpx::tool::keepMemoryBetweenPictures();
    module.attr("version") = KPX_VERSION;
    module.def("plugin_path", [] { return py::bytes(plugin().path()); });
    module.def("read", &readPicture);
    module.def("write", &writePicture);
    module.def("explain", &explainFile);
    module.def("repair", &repair);
}
