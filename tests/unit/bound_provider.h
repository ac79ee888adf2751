#pragma once

#include "dbiproviderimpl.h"
#include "support/fake_queries.h"
#include "support/fake_store.h"

#include <string>

namespace lanefeed_test {

// A provider bound to a fake result without a row-by, and what the result is made of.
struct BoundProvider {
    BoundProvider()
        : database(basekit2::make_object<FakeDatabase>()),
          library(basekit2::make_object<FakeLibrary>()),
          input(basekit2::make_object<FakeInput>()),
          provider(basekit2::make_object<lanefeed_1::DbiProviderImpl>()) {
        input->offer<storelink1::IPerfDatabase>(basekit2::make_object<FakePerfDatabase>(database));
        input->offer<dataface_1::IQueryLibrary>(library);
        lanefeed_1::TLViewpointParser::RowSet rowSet;
        provider->setResult(0, input, &rowSet, "", 0);
    }

    basekit2::sptr_t<FakeDatabase> database;
    basekit2::sptr_t<FakeLibrary> library;
    basekit2::sptr_t<FakeInput> input;
    basekit2::sptr_t<lanefeed_1::DbiProviderImpl> provider;
};

}  // namespace lanefeed_test
