// zt-audio-convert: the library from the command line.
#include "conversion.h"
#include "errors.h"
#include "library_host.h"
#include "reports.h"
#include "signals.h"

#include <exception>
#include <iostream>

namespace {

std::vector<std::unique_ptr<audio_source>> openSources(const tool_options &options) {
    const source_options how{options.raw, options.ignore_length, !options.no_metadata,
                             !options.split_inputs.empty()};
    std::vector<std::unique_ptr<audio_source>> sources;
    for (const split_input &split : options.split_inputs) {
        sources.push_back(openSource(split.path, how));
    }
    if (!options.input.empty()) {
        sources.push_back(openSource(options.input, how));
    }
    return sources;
}

// What the sources are, or a stand-in for a report that needs none.
std::vector<source_description> describe(const std::vector<std::unique_ptr<audio_source>> &sources,
                                         const tool_options &options) {
    std::vector<source_description> descriptions;
    for (const auto &source : sources) {
        descriptions.push_back(source->description);
    }
    if (descriptions.empty()) {
        source_description assumed;
        assumed.name = assumed.kind = "none";
        assumed.bytes.channels = static_cast<uint8_t>(speakerCount(options.input_mask.value_or(1)));
        assumed.bytes = options.raw.value_or(assumed.bytes);
        descriptions.push_back(assumed);
    }
    return descriptions;
}

void convert(const tool_options &options, const conversion_plan &plan,
             std::vector<std::unique_ptr<audio_source>> &sources, std::FILE *reports) {
    progress_line progress(plan.input_frames, plan.settings.input_sample_rate, options.quiet);
    std::vector<std::unique_ptr<audio_sink>> sinks;
    for (const output_target &target : plan.targets) {
        sinks.push_back(openSink(target));
    }
    const conversion_outcome outcome = runConversion(plan, sources, sinks, options.stats, progress);
    progress.clear();
    for (const auto &sink : sinks) {
        sink->commit();
    }
    if (options.stats) {
        printStats(reports, plan, outcome);
    }
}

// What is told before the conversion, or in its place.
void printPlan(std::FILE *out, const tool_options &options, const conversion_plan &plan,
               const std::vector<source_description> &sources) {
    if (options.show_matrix) {
        printMatrix(out, plan);
    }
    if (options.info || options.dry_run) {
        printInfo(out, plan, sources);
        printMatrix(out, plan);
    } else if (!options.quiet) {
        for (const std::string &note : plan.notes) {
            std::cerr << PROGRAM_NAME << ": note: " << note << "\n";
        }
    }
}

void run(const tool_options &options) {
    std::FILE *reports = options.output == "-" ? stderr : stdout;
    std::vector<std::unique_ptr<audio_source>> sources = openSources(options);
    const std::vector<source_description> descriptions = describe(sources, options);
    const conversion_plan plan = makePlan(options, descriptions);
    printPlan(reports, options, plan, descriptions);
    for (const output_target &target : plan.targets) {
        checkTarget(target);
    }
    if (options.dry_run) {
        newConverter(plan.settings);
    } else if (!plan.targets.empty() && !options.show_matrix) {
        convert(options, plan, sources, reports);
    }
    if (std::fflush(reports) != 0 || std::ferror(reports)) {
        throw conversion_error("standard output: cannot write the report");
    }
}

int report(const std::string &fault, int status) {
    std::cerr << PROGRAM_NAME << ": " << fault << "\n";
    return status;
}

} // namespace

int main(int argument_count, char **arguments) {
    try {
        installSignalHandlers();
        if (const auto options = parseOptions(argument_count, arguments)) {
            run(*options);
        } else if (!std::cout.flush()) {
            throw systemError("standard output", "cannot write");
        }
        return EXIT_DONE;
    } catch (const usage_error &error) {
        report(error.what(), EXIT_USAGE);
        std::cerr << usageText() << "Try '" << PROGRAM_NAME << " --help' for the options.\n";
        return EXIT_USAGE;
    } catch (const interruption &) {
        return raise(ending_signal);
    } catch (const std::bad_alloc &) {
        return report("out of memory", EXIT_CONVERSION_FAILED);
    } catch (const std::exception &error) {
        return report(error.what(), EXIT_CONVERSION_FAILED);
    }
}
