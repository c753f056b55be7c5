// The network library's own sources: with separate compilation they belong into exactly one file of a program.

#include <boost/asio/impl/src.hpp>
#include <boost/asio/ssl/impl/src.hpp>
#include <boost/beast/src.hpp>
