-- max rows 3
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" WHERE ((("Location_Filter" flowfilter ''))) ORDER BY "No_"
