// expectNullsRefused: calls the functions with each pointer of good arguments null in turn, which must give the status. An
// argument that is null already may be null.
#ifndef ZELSPI_TESTS_SUPPORT_REFUSED_NULLS_H
#define ZELSPI_TESTS_SUPPORT_REFUSED_NULLS_H

#include "core/status/status.h"

#include <gtest/gtest.h>

#include <tuple>
#include <type_traits>
#include <utility>

template <typename Function, typename Tuple, std::size_t... index>
void expectEachNullRefused(Status refusal, Function function, const Tuple& good, std::index_sequence<index...>) {
    const auto one = [&](auto position) {
        auto arguments = good;
        auto& argument = std::get<position>(arguments);
        if constexpr (std::is_pointer_v<std::remove_reference_t<decltype(argument)>>) {
            if (argument != nullptr) {
                argument = nullptr;
                EXPECT_EQ(std::apply(function, arguments), refusal) << "argument " << position + 1;
            }
        }
    };
    (one(std::integral_constant<std::size_t, index>()), ...);
}

template <typename... Parameters> void expectNullsRefused(std::initializer_list<Status (*)(Parameters...)> functions,
                                                          std::type_identity_t<Parameters>... good) {
    for (const auto& function : functions) {
        SCOPED_TRACE(testing::Message() << "function " << &function - functions.begin() + 1);
        expectEachNullRefused(ERR_NULL_POINTER, function, std::tuple<Parameters...>(good...),
                              std::index_sequence_for<Parameters...>());
    }
}

#endif
