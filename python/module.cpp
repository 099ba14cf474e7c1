// The extension module _kpximage, which the package kpximage is written over: paths are bytes, channels are a text of a
// letter each, objects are JSON. What ends the work on a file is a Failure with the tool's sentence and the error
// number of the system, or None; an OutputFailure if the file is the output.
#include <cxxabi.h>
#include <dlfcn.h>
#include <pybind11/functional.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <unistd.h>

#include <algorithm>
#include <optional>

#include "explain/Explanation.h"
#include "host/HostError.h"
#include "python/ArraySource.h"
#include "tools/files/PendingFile.h"
#include "tools/json/fileJson.h"
#include "tools/json/gradeText.h"
#include "tools/pictures/DdsSource.h"
#include "tools/pictures/OutputFormat.h"
#include "tools/pictures/RowPacker.h"
#include "tools/pictures/channelUse.h"
#include "tools/pictures/keptMemory.h"
#include "tools/plugin/pluginChoice.h"
#include "tools/plugin/pluginOptions.h"
#include "tools/repair/repairFile.h"
#include "tools/terminal/errors.h"

namespace kpx::python {
namespace {

namespace py = pybind11;

// While one lives, other threads have the interpreter. An interpreter that has ended meanwhile ends the threads that
// ask for it again by unwinding their stacks, on which are Python's objects that nobody may touch any more: such a
// thread sleeps until the process is gone, as in later versions of Python.
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

// This module, which lies in the folder of its package.
tool::Searcher module() {
    Dl_info self{};
    dladdr(reinterpret_cast<const void*>(&module), &self);
    return {std::filesystem::canonical(self.dli_fname).parent_path(), "beside the module", KPX_PLUGIN_DIR_FROM_MODULE,
            "in KPX_PLUGIN"};
}

// Loaded at its first use, for as long as the process lives: other threads may be within it when the interpreter ends.
const host::Plugin& plugin() {
    static const host::Plugin& loaded = *new host::Plugin(tool::choosePlugin("", module()).path);
    return loaded;
}

// Runs the handlers of signals that have come; what they raise ends the work.
void heedSignals() {
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
}

// Also returns what is known of the file.
tool::OpenedImage openImage(const host::Plugin& plugin, const std::string& path, Explanation& explanation) {
    const tool::OpenFile file(path);
    explanation = explain(file.facts());
    if (explanation.grade == Grade::unreadable) throw FileError(tool::gradeText(explanation).sentence);
    tool::OpenedImage image = tool::openThroughHost(plugin, file);
    // There was no memory for what could be decoded.
    if (image.isBlack && image.verdict.result == Result::decoded) throw std::bad_alloc();
    return image;
}

// From the reader's rows of channels to pixels, with nothing in between.
template <typename Value>
void copyRows(tool::DdsSource& source, std::size_t channels, Value* to) {
    const Unlocked unlocked;
    const auto width = static_cast<std::size_t>(source.layout().width);
    for (int y = 0; y < source.layout().height; ++y, to += width * channels) {
        const auto rows = source.nextRow();
        std::array<const Value*, 4> values{};
        for (std::size_t i = 0; i < channels; ++i) values[i] = reinterpret_cast<const Value*>(rows[i]);
        tool::joinRows(values.data(), channels, width, to);
    }
}

template <typename Value>
py::array readRows(tool::DdsSource& source, py::ssize_t channels) {
    const tool::ImageLayout& layout = source.layout();
    py::array_t<Value> array(std::array<py::ssize_t, 3>{layout.height, layout.width, channels});
    copyRows(source, static_cast<std::size_t>(channels), array.mutable_data());
    return array;
}

py::str textOf(const tool::Json& object) {
    return object.dump(-1, ' ', false, tool::Json::error_handler_t::replace);
}

// Returns the array, the names of its channels, why it is black or "", and the object of explain as JSON.
py::tuple readPicture(const std::string& path) {
    const host::Plugin& reading = plugin();
    std::optional<tool::DdsSource> source;
    Explanation explanation;
    {
        const Unlocked unlocked;
        source.emplace(openImage(reading, path, explanation));
    }
    const std::string why = source->isBlack() ? tool::gradeText(explanation).sentence : "";
    heedSignals();
    std::string names(tool::channelUse(source->layout()).names);
    if (source->traits().isRed) names.front() = 'R';
    const auto channels = static_cast<py::ssize_t>(names.size());
    const bool isFloat = source->layout().isFloat;
    const py::array array = isFloat ? readRows<float>(*source, channels) : readRows<unsigned char>(*source, channels);
    {
        const Unlocked unlocked;
        source.reset();
    }
    return py::make_tuple(array, names, why, textOf(tool::fileAsJson(path, explanation)));
}

host::OptionChoice alphaChoice(const host::Plugin& plugin, const std::string& value) try {
    const host::Option& option = tool::findOption(plugin, "Alpha");
    return {option.code, static_cast<std::uint8_t>(tool::findValue(option, value).code)};
} catch (const tool::UsageError& error) {
    throw tool::UsageError(std::string("alpha: ") + error.what());
}

// `tell` is called with what is to be said of a file that is complete; what it raises leaves no file.
void writePicture(const std::string& path, const py::array& pixels, const std::string& names, const std::string& alpha,
                  const std::function<void(const std::string&)>& tell) {
    if (pixels.ndim() != 3 || pixels.shape(2) != static_cast<py::ssize_t>(names.size()))
        throw tool::UsageError("array must have three axes, and channels a name for each place of the last");
    if (pixels.dtype().kind() != 'u' || pixels.itemsize() != 1) throw py::type_error("array must have values of uint8");
    tool::OutputSettings settings{plugin()};
    settings.isPadded = true;
    if (!alpha.empty()) settings.options.push_back(alphaChoice(settings.plugin, alpha));
    PixelArray array{static_cast<const unsigned char*>(pixels.data()), {}, {}};
    std::copy_n(pixels.shape(), 3, array.shape.begin());
    std::copy_n(pixels.strides(), 3, array.strides.begin());
    ArraySource source(array, names);
    std::optional<tool::PendingFile> file;
    std::string note;
    {
        const Unlocked unlocked;
        file.emplace(path);
        if (source.layout().isFloat) throw FileError("has floating-point channels, which cannot be written as DDS");
        note = tool::writeDds(source, file->path(), settings);
    }
    if (!note.empty()) tell(note);
    heedSignals();
    const Unlocked unlocked;
    file->commit();
}

py::str explainFile(const std::string& path) {
    const Explanation file = [&] {
        const Unlocked unlocked;
        return explain(tool::OpenFile(path).facts());
    }();
    return textOf(tool::fileAsJson(path, file));
}

// Without an output nothing is written.
py::str repair(const std::string& path, const std::optional<std::string>& output, bool mayConvert) {
    const tool::RepairPlan plan = [&] {
        const Unlocked unlocked;
        const tool::OpenFile file(path);
        tool::RepairPlan planned = tool::planRepair(file.facts(), mayConvert);
        if (output && planned.helps()) tool::writeRepaired(file, planned, *output, tool::Existing::replace);
        return planned;
    }();
    return textOf(tool::repairAsJson(path, output.value_or(""), plan, !output));
}

// A sentence may quote a path, which need not be UTF-8.
py::object textOf(const char* sentence) {
    return py::reinterpret_steal<py::object>(PyUnicode_DecodeFSDefault(sentence));
}

// Sets a Failure of the type; a code of 0 becomes None.
template <typename Error>
void setFailure(py::handle type, const Error& error) {
    const py::object sentence = textOf(error.what());
    if (!sentence) return;
    const py::object code = error.code() == 0 ? py::object(py::none()) : py::int_(error.code());
    PyErr_SetObject(type.ptr(), py::make_tuple(sentence, code).ptr());
}

}  // namespace
}  // namespace kpx::python

PYBIND11_MODULE(_kpximage, module) {
    namespace py = pybind11;
    using namespace kpx::python;
    static const py::handle failure = py::exception<kpx::FileError>(module, "Failure").release();
    static const py::handle outputFailure =
        py::exception<kpx::tool::OutputError>(module, "OutputFailure", failure).release();
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(std::move(thrown));
        } catch (const kpx::tool::UsageError& error) {
            if (const py::object text = textOf(error.what())) PyErr_SetObject(PyExc_ValueError, text.ptr());
        } catch (const kpx::tool::OutputError& error) {
            setFailure(outputFailure, error);
        } catch (const kpx::FileError& error) {
            setFailure(failure, error);
        } catch (const kpx::host::HostError& error) {
            setFailure(failure, error);
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
